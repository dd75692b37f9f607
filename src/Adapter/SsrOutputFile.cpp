// The correction file of the SSR store: ORBIT and CLOCK blocks, one line per satellite.

#include <algorithm>
#include <cstdio>
#include <vector>

#include "Adapter/SsrOrbitClkAdapter.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

Log& s_log() { return Logtrace::s_defaultlogger; }

void s_writeBlockHead(const char* file, const char* kind, const SsrRecord& record, long count) {
  int mjd = 0, year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double sod = 0.0, second = 0.0;
  wksow2mjd(record.m_wk, record.m_sow, &mjd, &sod);
  mjd2date(mjd, sod, &year, &month, &day, &hour, &minute, &second);
  s_log().m_wtMsg("@%s > %s %04d %02d %02d %02d %02d %4.1lf %ld SSR\n", file, kind, year, month, day, hour,
                  minute, second, count);
}

void s_write(const char* file, const SsrRecord& record, const Deploy& deploy) {
  const auto present = [&](const int* iod) {
    return deploy.m_nsat - std::count(iod, iod + deploy.m_nsat, -1);
  };
  s_writeBlockHead(file, "ORBIT", record, present(record.m_iodOrb));
  for (int i = 0; i < deploy.m_nsat; ++i) {
    if (record.m_iodOrb[i] == -1) continue;
    const double* d = record.m_dorb[i];
    s_log().m_wtMsg("@%s %s  %10d%11.4lf%11.4lf%11.4lf%11.4lf%11.4lf%11.4lf\n", file,
                    deploy.m_cprn[i].c_str(), record.m_iodOrb[i], d[0], d[1], d[2], d[3], d[4], d[5]);
  }
  s_writeBlockHead(file, "CLOCK", record, present(record.m_iodClk));
  for (int i = 0; i < deploy.m_nsat; ++i) {
    // Readers of this file expect the satellites of the orbit block here as well.
    if (record.m_iodOrb[i] == -1) continue;
    const double* c = record.m_dclk[i];
    s_log().m_wtMsg("@%s %s  %10d%11.4lf%11.4lf%11.4lf\n", file, deploy.m_cprn[i].c_str(), record.m_iodClk[i],
                    c[0], c[1], c[2]);
  }
}

}  // namespace

void SsrOrbitClkAdapter::v_openOutFile(std::string epoch, double version) {
  SsrOrbitClkAdapter::v_closeOutFile();
  BrdOrbitClkAdapter::v_openOutFile(epoch, version);
  int mjd = 0, week = 0, dayOfWeek = 0;
  if (std::sscanf(epoch.c_str(), "%d", &mjd) != 1) return;
  gpsweek(0, 0, mjd, &week, &dayOfWeek);
  std::snprintf(m_ssrFile, sizeof m_ssrFile, "%s/ssr%04d%01d.ssr", s_config().m_pathOutput, week, dayOfWeek);
  s_log().m_openLog(m_ssrFile);
}

void SsrOrbitClkAdapter::v_outFileEph() {
  BrdOrbitClkAdapter::v_outFileEph();
  std::vector<SsrRecord> records;
  {
    const std::lock_guard<std::mutex> lock(m_ssrMutex);
    records.assign(m_list.begin(), m_list.end());
  }
  const Deploy& deploy = s_config();
  for (const SsrRecord& record : records) s_write(m_ssrFile, record, deploy);
}

void SsrOrbitClkAdapter::v_closeOutFile() {
  BrdOrbitClkAdapter::v_closeOutFile();
  if (m_ssrFile[0] != '\0') s_log().m_closeLog(m_ssrFile);
  m_ssrFile[0] = '\0';
}

}  // namespace tarvio
