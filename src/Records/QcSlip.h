#pragma once
/// \file QcSlip.h
/// Slips, and the state of their detection for one frequency pair.

#include "Common/SmoothAdapter.h"

namespace tarvio {

/// What slip detection found on a frequency (Ssat_t::m_slip).
enum SlipKind : int {
  kSlipNone = 0,
  kSlipSingle = 1,        ///< phase minus code of one frequency; a reset of the filter leaves it too
  kSlipGap = 2,           ///< not seen for longer than the gap limit
  kSlipWideLane = 3,      ///< Melbourne-Wuebbena alone
  kSlipGeometryFree = 4,  ///< geometry-free, with or without Melbourne-Wuebbena
};

struct QcSlip {
  int m_mjd = 0;  ///< last update of this pair
  double m_sod = 0.0;
  int m_nmw = 0;         ///< epochs in the running mean
  double m_gf = 0.0;     ///< last geometry-free value, m
  double m_mw = 0.0;     ///< running mean of Melbourne-Wuebbena, wide-lane cycles
  double m_dpr = 0.0;    ///< last phase minus code, cycles (single frequency)
  double m_tlast = 0.0;  ///< fractional MJD when frequency f was last seen (entry f)
  SmoothAdapter m_rate;  ///< geometry-free rate, m/s
  /// Where the next sample of the rate starts when epochs are closer than a second; fractional day 0 =
  /// nowhere.
  double m_rateTime = 0.0, m_rateGf = 0.0;

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_mjd, m_sod, m_nmw, m_gf, m_mw, m_dpr, m_tlast, m_rate, m_rateTime, m_rateGf);
  }
};

}  // namespace tarvio
