#pragma once
/// \file TideTables.h
/// Constituents of the solid tide's frequency dependence and of the ocean tides.

namespace tarvio {

/// One line of the second step of the solid tide. Multipliers of s, h, p, N', ps; amplitudes, mm.
struct SolidTideTerm {
  int n[5];
  double radialIn, radialOut, transverseIn, transverseOut;
};
inline constexpr int kSolidDiurnalTerms = 31;  ///< tau has multiplier 1 in each
inline constexpr int kSolidLongPeriodTerms = 5;
extern const SolidTideTerm kSolidDiurnal[kSolidDiurnalTerms];
extern const SolidTideTerm kSolidLongPeriod[kSolidLongPeriodTerms];

/// One constituent of the tidal potential: multipliers of tau, s, h, p, N', ps and signed amplitude.
struct OceanTideTerm {
  int n[6];
  double amplitude;
};
inline constexpr int kOceanTideTerms = 342;  ///< 109 semi-diurnal, 154 diurnal, 79 long-period
extern const OceanTideTerm kOceanTides[kOceanTideTerms];

}  // namespace tarvio
