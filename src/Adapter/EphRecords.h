#pragma once
/// \file EphRecords.h
/// Broadcast messages and state-space corrections in the system's own form.

#include "Common/Constants.h"

namespace tarvio {

/// Keplerian message of GPS, Galileo, BeiDou, QZSS. Radians, metres, seconds.
struct GPSEPH {
  char m_cprn[8] = "";
  int m_mjd = 0;  ///< time of clock; GPS time, for BeiDou the numbers of BDT
  double m_sod = 0.0;
  double m_a0 = 0.0, m_a1 = 0.0, m_a2 = 0.0;
  int m_iode = 0;  ///< issue of data as made by genAode
  double m_crs = 0.0, m_dn = 0.0, m_M0 = 0.0, m_cuc = 0.0, m_e = 0.0, m_cus = 0.0, m_roota = 0.0;
  double m_toe = 0.0;  ///< seconds of week
  double m_cic = 0.0, m_OMEGA0 = 0.0, m_cis = 0.0, m_i0 = 0.0, m_crc = 0.0, m_omega = 0.0;
  double m_OMEGADOT = 0.0, m_idot = 0.0;
  double m_codes = 0.0;  ///< code on L2; Galileo data source bits
  double m_week = 0.0;   ///< week of toe
  double m_L2flag = 0.0, m_sva = 0.0, m_svh = 0.0, m_tgd = 0.0, m_tgd2 = 0.0, m_iodc = 0.0;
  long m_rcvTime = 0;  ///< wall clock of arrival
  // extended BeiDou messages; zero for host data
  double m_msgtype = 0.0, m_deltaA = 0.0, m_Adot = 0.0, m_deltaNdot = 0.0;
};

/// GLONASS message, PZ-90, kilometres and seconds.
struct GLSEPH {
  char m_cprn[8] = "";
  int m_mjd = 0;
  int m_iode = 0;
  double m_sod = 0.0;
  double m_tau = 0.0, m_gamma = 0.0, m_tk = 0.0;
  double m_pos[3] = {}, m_vel[3] = {}, m_acc[3] = {};
  double m_svh = 0.0, m_frq = 0.0, m_age = 0.0;
  long m_rcvTime = 0;
};

/// A batch of orbit corrections: radial, along, cross (m) and their rates (m/s).
struct SSRORB {
  int m_wk = 0;
  double m_sow = 0.0;
  int m_iod[kMaxSat];
  double m_dorb[kMaxSat][6];
  SSRORB();
};

/// A batch of clock corrections: c0 (m), c1 (m/s), c2 (m/s^2).
struct SSRCLK {
  int m_wk = 0;
  double m_sow = 0.0;
  int m_iod[kMaxSat];
  double m_dclk[kMaxSat][3];
  double m_extra1[kMaxSat], m_extra2[kMaxSat];
  SSRCLK();
};

/// Unit of the correction store: one time tag.
struct SsrRecord {
  int m_wk = 0;
  double m_sow = 0.0;
  double m_extra1[kMaxSat], m_extra2[kMaxSat];
  int m_iodOrb[kMaxSat], m_iodClk[kMaxSat];  ///< -1 = none
  double m_dclk[kMaxSat][3];
  double m_dorb[kMaxSat][6];
  SsrRecord();
};

}  // namespace tarvio
