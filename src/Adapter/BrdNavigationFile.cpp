// The merged navigation file of the broadcast store, RINEX 3.

#include <unistd.h>

#include <cstdio>
#include <vector>

#include "Adapter/BrdOrbitClkAdapter.h"
#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Common/Taiutc.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

Log& s_log() { return Logtrace::s_defaultlogger; }

/// "@file G05 2020 06 25 00 00 00" and the three clock values.
void s_writeFirstLine(const char* file, const char* cprn, int mjd, double sod, const double* clock) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, &second);
  s_log().m_wtMsg("@%s %3s %04d %02d %02d %02d %02d %02d%19.12e%19.12e%19.12e\r\n", file, cprn, year, month,
                  day, hour, minute, static_cast<int>(second), clock[0], clock[1], clock[2]);
}

void s_writeLine(const char* file, double a, double b, double c, double d) {
  s_log().m_wtMsg("@%s     %19.12e%19.12e%19.12e%19.12e\r\n", file, a, b, c, d);
}

void s_write(const char* file, const GPSEPH& e) {
  const bool bds = e.m_cprn[0] == 'C';
  const double clock[3] = {e.m_a0, e.m_a1, e.m_a2};
  s_writeFirstLine(file, e.m_cprn, e.m_mjd, e.m_sod, clock);
  s_writeLine(file, e.m_iode, e.m_crs, e.m_dn, e.m_M0);
  s_writeLine(file, e.m_cuc, e.m_e, e.m_cus, e.m_roota);
  s_writeLine(file, e.m_toe, e.m_cic, e.m_OMEGA0, e.m_cis);
  s_writeLine(file, e.m_i0, e.m_crc, e.m_omega, e.m_OMEGADOT);
  // BDT weeks count from 2006-01-01, GPS week 1356.
  s_writeLine(file, e.m_idot, e.m_codes, bds ? e.m_week - 1356.0 : e.m_week, e.m_L2flag);
  s_writeLine(file, e.m_sva, e.m_svh, e.m_tgd, bds ? e.m_tgd2 : e.m_iodc);
  if (e.m_cprn[0] == 'E') s_log().m_wtMsg("@%s     %19.12e\r\n", file, 9.999e8);
  else s_log().m_wtMsg("@%s     %19.12e%19.12e\r\n", file, 0.0, 0.0);
}

void s_write(const char* file, const GLSEPH& e) {
  int mjd = 0;
  double sod = 0.0;
  timinc(e.m_mjd, e.m_sod, 19.0 - Taiutc::s_getInstance().m_getTaiutc(e.m_mjd), &mjd, &sod);
  const double clock[3] = {e.m_tau, e.m_gamma, e.m_tk};
  s_writeFirstLine(file, e.m_cprn, mjd, sod, clock);
  const double last[3] = {e.m_svh, e.m_frq, e.m_age};
  for (int i = 0; i < 3; ++i) s_writeLine(file, e.m_pos[i], e.m_vel[i], e.m_acc[i], last[i]);
}

void s_writeHeader(const char* file, double version) {
  s_log().m_wtMsg(
      "@%s      %4.2lf           NAVIGATION DATA     M (Mixed)           RINEX VERSION / TYPE\r\n", file,
      version);
  s_log().m_wtMsg("@%s TarvioHoursMerge         QVA-LAB           %sPGM / RUN BY / DATE\r\n", file,
                  runtime().c_str());
  s_log().m_wtMsg("@%s Merged GPS/GLO/GAL/BDS/ navigation file                     COMMENT\r\n", file);
  s_log().m_wtMsg("@%s                                                             END OF HEADER\r\n", file);
}

template <class Message>
std::vector<Message> s_copyAll(const std::map<std::string, std::list<Message>>& lists) {
  std::vector<Message> all;
  for (const auto& [cprn, messages] : lists) all.insert(all.end(), messages.begin(), messages.end());
  return all;
}

}  // namespace

void BrdOrbitClkAdapter::v_openOutFile(std::string epoch, double version) {
  BrdOrbitClkAdapter::v_closeOutFile();
  int mjd = 0;
  double sod = 0.0;
  if (std::sscanf(epoch.c_str(), "%d:%lf", &mjd, &sod) != 2) return;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, doy = 0;
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, nullptr);
  mjd2doy(mjd, &year, &doy);

  char slot[8];
  std::snprintf(slot, sizeof slot, "%02d", minute / 15 * 15 % 60);
  const char* path = s_config().m_pathOutput;
  std::snprintf(m_brdmFile, sizeof m_brdmFile, "%s/brdm%03d%c%2s.%02dp", path, doy,
                "abcdefghijklmnopqrstuvwx"[hour % 24], slot, year % 100);
  s_log().m_openLog(m_brdmFile, true, 172800);
  m_outOpen = 1;
  if (version > 3.0) {
    m_rnxver = version;
  } else {
    std::printf(
        "***WARNING(RnxEphStreamAdapter):v_openOutFile version %g is not support,use default %g instead!\n",
        version, m_rnxver);
  }
  s_writeHeader(m_brdmFile, m_rnxver);  // opening a file begins it anew
}

void BrdOrbitClkAdapter::v_outFileEph() {
  std::vector<GPSEPH> kepler;
  std::vector<GLSEPH> glonass;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    kepler = s_copyAll(m_gnssEph);
    glonass = s_copyAll(m_glsEph);
  }
  for (const GPSEPH& eph : kepler) s_write(m_brdmFile, eph);
  for (const GLSEPH& eph : glonass) s_write(m_brdmFile, eph);
}

void BrdOrbitClkAdapter::v_closeOutFile() {
  if (m_outOpen == 0) return;
  s_log().m_closeLog(m_brdmFile);
  m_outOpen = 0;
}

int BrdOrbitClkAdapter::v_isOutFileOpen() { return m_outOpen; }

}  // namespace tarvio
