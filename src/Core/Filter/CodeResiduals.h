#pragma once
/// \file CodeResiduals.h
/// What the solution says of its codes.
///
/// Differences in time (LagStatistics.h) do not see what stays: a signal that reaches the antenna by way of a
/// wall alone is late by metres as long as the wall stands. Its codes contradict those of the other
/// satellites, which the residuals of the float solution show: a mean that the code's errors do not explain
/// makes the satellite's codes doubtful, and when many contradict each other all codes are worth less.

#include <vector>

#include "Common/Constants.h"
#include "Config/NoiseSettings.h"

namespace tarvio {

class CodeResiduals {
 public:
  /// Takes a residual of the float solution, m. \param arc  tells arcs of a satellite apart \param t  s,
  /// rising
  void m_add(int isat, int slot, long arc, double t, double residual, const NoiseLevel& level);
  /// Behind the last residual of an epoch.
  void m_endEpoch(double t);

  /// Factor on the sigma of a satellite's code: 1 unless its mean residual stands out.
  double m_doubt(int isat, int slot, long arc, double t) const;
  /// Factor on the sigmas of all codes, at least 1.
  double m_scale() const;

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_mean, m_meanSquare, m_last);
  }

 private:
  struct Mean {
    long arc = -1;
    double t = 0.0, since = 0.0, value = 0.0, sigma = 0.0;  ///< s; m
    int count = 0;
  };
  Mean m_mean[kMaxSat][kFreq];
  std::vector<double> m_epoch;  ///< magnitudes in sigmas
  double m_meanSquare = 1.0, m_last = 0.0;
};

}  // namespace tarvio
