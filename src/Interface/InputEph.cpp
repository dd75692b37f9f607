// Broadcast messages of the host into the system's records.

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "Adapter/BroadcastEphUtils.h"
#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/SatelliteTable.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

constexpr double kAnyNumber = 1.0e15;  ///< far above any element of a message, far below overflow
constexpr int kBdtMinusGps_s = -14;

void s_logRefused(const char* id) {
  Logtrace::m_logStatInfo("ephemeris of %s holds impossible numbers, refused\n", id);
}

bool s_usableMessage(const GNX_IO::eph_entry_t& e) {
  const double elements[] = {e.i0,  e.OMG0, e.omg, e.M0,  e.deln,  e.OMGd,  e.idot,  e.crc,    e.crs,
                             e.cuc, e.cus,  e.cic, e.cis, e.af[0], e.af[1], e.af[2], e.tgd[0], e.tgd[1]};
  return s_usableTime(e.toe) && s_usableTime(e.toc) && e.A > 0.0 && e.A < kAnyNumber && e.e >= 0.0 &&
         e.e < 1.0 && s_usable(elements, static_cast<int>(std::size(elements)), kAnyNumber);
}

bool s_usableMessage(const GNX_IO::geph_entry_t& g) {
  const double clock[] = {g.taun, g.gamn};
  return s_usableTime(g.toe) && s_usableTime(g.tof) && s_usable(g.pos, 3, kAnyNumber) &&
         s_usable(g.vel, 3, kAnyNumber) && s_usable(g.acc, 3, kAnyNumber) && s_usable(clock, 2, kAnyNumber);
}

GLSEPH s_convert(const GNX_IO::geph_entry_t& source, const char* id) {
  GLSEPH eph;
  eph.m_rcvTime = s_wallClock();
  s_copyText(eph.m_cprn, id);
  for (int i = 0; i < 3; ++i) {
    eph.m_pos[i] = source.pos[i] / 1000.0;
    eph.m_vel[i] = source.vel[i] / 1000.0;
    eph.m_acc[i] = source.acc[i] / 1000.0;
  }
  eph.m_tau = -source.taun;
  eph.m_gamma = source.gamn;
  eph.m_frq = source.frq;
  eph.m_svh = source.svh;
  eph.m_age = source.age;
  eph.m_tk = GNX_IO::time2gpst(GNX_IO::gpst2utc(source.tof), nullptr);
  s_epochOf(source.toe, &eph.m_mjd, &eph.m_sod);
  eph.m_iode = genAode('R', eph.m_mjd, eph.m_sod, 0.0, source.iode, nullptr);
  return eph;
}

GPSEPH s_convert(const GNX_IO::eph_entry_t& source, const char* id) {
  GPSEPH eph;
  eph.m_rcvTime = s_wallClock();
  s_copyText(eph.m_cprn, id);
  s_epochOf(source.toc, &eph.m_mjd, &eph.m_sod);
  // The week of toe, not of toc: around the end of a week they differ.
  int week = 0;
  eph.m_toe = GNX_IO::time2gpst(source.toe, &week);
  eph.m_week = week;
  eph.m_a0 = source.af[0];
  eph.m_a1 = source.af[1];
  eph.m_a2 = source.af[2];
  eph.m_crs = source.crs;
  eph.m_dn = source.deln;
  eph.m_M0 = source.M0;
  eph.m_cuc = source.cuc;
  eph.m_e = source.e;
  eph.m_cus = source.cus;
  eph.m_roota = std::sqrt(source.A);
  eph.m_cic = source.cic;
  eph.m_OMEGA0 = source.OMG0;
  eph.m_cis = source.cis;
  eph.m_i0 = source.i0;
  eph.m_crc = source.crc;
  eph.m_omega = source.omg;
  eph.m_OMEGADOT = source.OMGd;
  eph.m_idot = source.idot;
  eph.m_codes = source.code;
  eph.m_L2flag = source.flag;
  eph.m_sva = source.sva;
  eph.m_svh = source.svh;
  eph.m_tgd = source.tgd[0];
  eph.m_tgd2 = source.tgd[1];
  eph.m_iodc = source.iodc;
  eph.m_iode = genAode(id[0], eph.m_mjd, eph.m_sod, eph.m_toe, source.iode, &eph);
  return eph;
}

void s_setGlonass(const GNX_IO::nav_t& nav, const char* id) {
  const int prn = std::atoi(id + 1);
  if (nav.geph == nullptr || prn < 1) return;
  const GNX_IO::geph_entry_t& source = nav.geph[prn - 1];
  if (!s_usableMessage(source)) return s_logRefused(id);
  GLSEPH eph = s_convert(source, id);
  Controller::s_getInstance()->m_orbclk->v_inputEph(nullptr, &eph);
}

}  // namespace

void s_setEphData(GNX_IO::nav_t* nav, int sat, int off) {
  if (nav == nullptr || Controller::s_getInstance()->m_orbclk == nullptr) return;
  const SatelliteId id(sat);
  if (id.m_text[0] == '\0' || std::strchr(SYS, id.m_text[0]) == nullptr || s_satRow(id.m_text) < 0) return;
  if (id.m_text[0] == 'R') return s_setGlonass(*nav, id.m_text);

  const long index = static_cast<long>(sat) + off - 1;
  if (nav->eph == nullptr || index < 0) return;
  GNX_IO::eph_entry_t& source = nav->eph[index];
  if (!s_usableMessage(source)) return s_logRefused(id.m_text);
  if (id.m_text[0] == 'C') {
    // The host hands BeiDou times over in GPS time; the message's own numbers are BDT.
    source.toc.time += kBdtMinusGps_s;
    source.toe.time += kBdtMinusGps_s;
  }
  GPSEPH eph = s_convert(source, id.m_text);
  Controller::s_getInstance()->m_orbclk->v_inputEph(&eph, nullptr);
}

}  // namespace tarvio
