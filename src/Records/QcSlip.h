#pragma once
/// \file QcSlip.h
/// State of slip detection for one frequency pair.

#include "Common/SmoothAdapter.h"

namespace tarvio {

struct QcSlip {
  int m_mjd = 0;  ///< last update of this pair
  double m_sod = 0.0;
  int m_nmw = 0;         ///< epochs in the running mean
  double m_gf = 0.0;     ///< last geometry-free value, m
  double m_mw = 0.0;     ///< running mean of Melbourne-Wuebbena, wide-lane cycles
  double m_dpr = 0.0;    ///< last phase minus code, cycles (single frequency)
  double m_tlast = 0.0;  ///< fractional MJD when frequency f was last seen (entry f)
  SmoothAdapter m_rate;  ///< geometry-free rate, m/s
};

}  // namespace tarvio
