#pragma once
/// Broadcast messages with plausible numbers.

#include "Adapter/EphRecords.h"
#include "Common/ComString.h"

namespace gnx_test {

inline constexpr int kWeek = 2111;
inline constexpr int kMjd = 59025;        ///< 2020-06-25, day 4 of the week
inline constexpr double kToe = 352800.0;  ///< 02:00 of that day, seconds of week
inline constexpr double kToeSod = 7200.0;

/// An almost circular orbit of given size with harmonics of usual size; time of clock = toe.
inline tarvio::GPSEPH message(const char* cprn, double roota = 5153.65, double inclination = 0.965) {
  tarvio::GPSEPH eph;
  tarvio::s_copyText(eph.m_cprn, cprn);
  eph.m_mjd = kMjd;
  eph.m_sod = kToeSod;
  eph.m_week = kWeek;
  eph.m_toe = kToe;
  eph.m_iode = 10;
  eph.m_roota = roota;
  eph.m_e = 0.0123;
  eph.m_i0 = inclination;
  eph.m_M0 = 1.234;
  eph.m_omega = -0.777;
  eph.m_OMEGA0 = 2.345;
  eph.m_OMEGADOT = -8.1e-9;
  eph.m_idot = 2.2e-10;
  eph.m_dn = 4.5e-9;
  eph.m_cuc = -3.1e-6;
  eph.m_cus = 8.9e-6;
  eph.m_cic = 1.1e-7;
  eph.m_cis = -0.7e-7;
  eph.m_crc = 215.0;
  eph.m_crs = -61.0;
  eph.m_a0 = 1.23e-4;
  eph.m_a1 = -4.5e-12;
  eph.m_tgd = 5.0e-9;
  eph.m_codes = 258.0;
  return eph;
}

}  // namespace gnx_test
