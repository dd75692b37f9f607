#pragma once
/// \file EarthRotationTables.h
/// Series of the subdaily variations of Earth rotation (IERS Conventions 2010, chapters 5 and 8).

namespace tarvio {

/// One line of the degree-2 tide-generating potential.
struct TideLine {
  int order;  ///< 1 diurnal, 2 semi-diurnal
  double height_mm;
  double phase_rad;  ///< at MJD 37076.5
  double freq_rad_per_day;
};
inline constexpr int kTideLineCount = 71;
extern const TideLine kTideLines[kTideLineCount];

/// Orthogonalisation factors s1..s6, [diurnal, semi-diurnal].
extern const double kOrthoScale[2][6];

/// Orthoweights: columns dx, dy (microarcsec), dUT1 (microseconds).
extern const double kOrthoWeights[12][3];

/// One line of a libration series. Multipliers belong to GMST + pi, l, l', F, D, Om.
struct LibrationLine {
  int n[6];
  double a[4];  ///< sine and cosine of the first quantity, then of the second
};
/// Polar motion, quasi-diurnal lines (table 5.1a): x and y in microarcsec.
inline constexpr int kPolarLibrationCount = 10;
extern const LibrationLine kPolarLibration[kPolarLibrationCount];
/// Spin (table 5.1b): dUT1 in microseconds, dLOD in microseconds per day.
inline constexpr int kSpinLibrationCount = 11;
extern const LibrationLine kSpinLibration[kSpinLibrationCount];

}  // namespace tarvio
