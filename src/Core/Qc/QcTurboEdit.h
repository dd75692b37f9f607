#pragma once
/// \file QcTurboEdit.h
/// Cycle-slip detection per satellite and epoch.

#include "Core/Qc/Qc.h"
#include "Records/QcSlip.h"

namespace tarvio {

/// What is known beside the records of a satellite; zeros: nothing.
struct SlipExpectation {
  double phaseSigma = 0.0;  ///< of a phase, m
  double codeSigma = 0.0;   ///< of a code, m
  bool rateKnown = false;
  double ionosphereRate = 0.0;  ///< of the slant delay on the first used frequency, m/s
  double frequency = 0.0;       ///< to which the rate refers, Hz
};

class QcTurboEdit : public Qc {
 public:
  /// Melbourne-Wuebbena and geometry-free tests over all pairs of observed frequencies.
  /// \param obs   phases (cycles) 0..3, codes (m) 4..7
  /// \param elev  radians, 0 when unknown
  /// \param sm    pair records; entry f also keeps when frequency f was last seen
  /// \param slip  in and out, SlipKind by slot
  /// \param expected  limits are not below what noise explains, and a known ionosphere is taken off
  void m_qcDetectSlip_Df_sat(int mjd, double sod, int isat, const char* station, const double* obs,
                             double elev, QcSlip* sm, int* slip, const SlipExpectation& expected = {});
  /// Phase minus code on one frequency; kSlipSingle.
  void m_qcDetectSlip_Sf_sat(int mjd, double sod, int isat, const char* station, const double* obs,
                             double elev, QcSlip* sm, int* slip);
};

}  // namespace tarvio
