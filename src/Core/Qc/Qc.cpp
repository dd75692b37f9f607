// Trimmed means, robust rejection by signs, fractions on the cycle, confidence of roundings.

#include "Core/Qc/Qc.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string_view>
#include <vector>

#include "Common/ComFreq.h"
#include "Common/ElevationWeight.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Records/Station.h"

namespace tarvio {

namespace {

constexpr int kUnset = -1;
constexpr double kMadToSigma = 0.6745;

int s_countUsed(const int* flags, int n) {
  return flags == nullptr ? n : static_cast<int>(std::count(flags, flags + n, static_cast<int>(kQcUsed)));
}

/// The result of one trial of the sign-based rejection: elements near one of the medians.
struct Trial {
  double m_centre = 0.0, m_sigma = 0.0, m_meanSquare = 0.0;
  int m_kept = 0;

  bool m_keeps(double value, int flag, double limit, double factor) const {
    const double dev = std::fabs(value - m_centre);
    return flag == kQcUsed && dev < limit && (factor == 0.0 || dev < factor * m_sigma);
  }
};

Trial s_trial(int n, const double* values, const int* flags, double limit, double factor, int centreMode,
              int spreadMode) {
  thread_local std::vector<double> dev;
  dev.resize(static_cast<std::size_t>(n));
  Trial trial;
  trial.m_centre = Qc::Qc_mad(values, n, flags, 0.5, centreMode);
  for (int i = 0; i < n; ++i) dev[static_cast<std::size_t>(i)] = std::fabs(values[i] - trial.m_centre);
  trial.m_sigma = Qc::Qc_mad(dev.data(), n, flags, 0.5, spreadMode) / kMadToSigma;
  double squares = 0.0;
  for (int i = 0; i < n; ++i) {
    if (!trial.m_keeps(values[i], flags[i], limit, factor)) continue;
    squares += dev[static_cast<std::size_t>(i)] * dev[static_cast<std::size_t>(i)];
    ++trial.m_kept;
  }
  if (trial.m_kept > 0) trial.m_meanSquare = squares / trial.m_kept;
  return trial;
}

/// Outputs of a trimming mean, with their start values.
struct TrimResult {
  int m_excluded = 0;
  double m_mean = 0.0, m_sigmean = kNone, m_sigma = kNone;
};

/// The trimming loop: drops the worst element while it stands out from the rest.
/// \param onRemoval  called with (element, mean of the rest) for every element that goes
template <typename OnRemoval>
TrimResult s_trimmedMean(bool trim, const double* values, int* flags, const double* weights, int n,
                         double limit, OnRemoval onRemoval) {
  constexpr double kPairSigma = 40.5;  // m, spread at which two values contradict each other
  constexpr double kScoreLimit = 4.5;  // in sigmas of the rest
  constexpr double kTightSigma = 3.0;  // m
  TrimResult result;
  for (;;) {
    const int used = Qc::Qc_getMean(values, flags, weights, n, &result.m_excluded, &result.m_mean,
                                    &result.m_sigmean, &result.m_sigma);
    if (used == 0) {
      std::fill(flags, flags + n, static_cast<int>(kQcTrimmed));
      return TrimResult{n, 0.0, kNone, kNone};
    }
    if (!trim) return result;

    int worst = kUnset;
    double worstScore = 0.0;
    for (int i = 0; i < n; ++i) {
      if (flags[i] != kQcUsed) continue;
      const double score = std::fabs(values[i] - result.m_mean) * std::sqrt(weights[i]);
      if (score > worstScore) {
        worstScore = score;
        worst = i;
      }
    }
    if (used == 2 && result.m_sigma > kPairSigma) {
      std::fill(flags, flags + n, static_cast<int>(kQcTrimmed));
      result.m_excluded = n;
      result.m_sigmean = result.m_sigma = kNone;
    }
    if (used < 3 || worst == kUnset) return result;

    flags[worst] = kQcTrimmed;
    TrimResult rest;
    Qc::Qc_getMean(values, flags, weights, n, &rest.m_excluded, &rest.m_mean, &rest.m_sigmean, &rest.m_sigma);
    const bool tight = worstScore / rest.m_sigma < kScoreLimit && rest.m_sigma < kTightSigma;
    if (tight || std::fabs(values[worst] - rest.m_mean) < limit) {
      flags[worst] = kQcUsed;
      return result;
    }
    onRemoval(worst, rest.m_mean);
  }
}

template <typename OnRemoval>
void s_getWgtMean(bool trim, const double* values, int* flags, const double* weights, int n, int* out,
                  double* mean, double* sigmean, double* sigma, double limit, OnRemoval onRemoval) {
  const TrimResult result =
      s_trimmedMean(trim, values, flags, weights, std::max(n, 0), limit == 0.0 ? 15.0 : limit, onRemoval);
  *out = result.m_excluded;
  *mean = result.m_mean;
  *sigmean = result.m_sigmean;
  *sigma = result.m_sigma;
}

/// Code residuals of one system, ready for the tests.
struct RangeSample {
  int m_count = 0;
  double m_values[kMaxSat], m_weights[kMaxSat];
  int m_ids[kMaxSat], m_flags[kMaxSat];
};

/// Ionosphere-free code residual of a satellite, m; 0 when there is none.
double s_rangeValue(const Ssat_t& row, int isat, int isys, bool single) {
  const Deploy& deploy = s_config();
  const double* code = row.m_xx + kFreq;
  if (single) return code[0];
  int i = 0, j = 0;
  if (!getTwoIndexOfValidObs(code, std::clamp(deploy.m_nfreqUsed[isys], 0, kFreq), &i, &j)) return 0.0;
  const double g = freqbytp(isat, deploy.m_freqUsed[isys][i]) / freqbytp(isat, deploy.m_freqUsed[isys][j]);
  return (g * g * code[i] - code[j]) / (g * g - 1.0);
}

void s_gather(const Station& sta, int isys, RangeSample& sample) {
  const Deploy& deploy = s_config();
  const bool single = std::string_view(deploy.m_obscomb).find("SF") != std::string_view::npos;
  sample.m_count = 0;
  for (int isat = 0; isat < std::min(deploy.m_nsat, kMaxSat); ++isat) {
    const Ssat_t& row = sta.m_sat[isat];
    if (index_sys(false, isat) != isys || row.m_elev < sta.m_cutoff) continue;
    const double value = s_rangeValue(row, isat, isys, single);
    if (value == 0.0) continue;
    const double factor = std::max(s_elevationFactor(row.m_elev), 1.0e-3);
    const int k = sample.m_count++;
    sample.m_values[k] = value;
    sample.m_weights[k] = 1.0 / (factor * factor);
    sample.m_ids[k] = isat;
    sample.m_flags[k] = kQcUsed;
  }
}

/// Trims the sample; \return the mean of what stays, meaningful when something stays.
double s_trimRanges(RangeSample& s, double limit, const char* station) {
  constexpr double kScattered = 30.0;  // m, where the mean itself cannot be trusted
  int excluded = 0;
  double mean = 0.0, sigmean = 0.0, sigma = 0.0;
  Qc::Qc_getWgtMean_range(true, s.m_values, s.m_ids, s.m_flags, s.m_weights, s.m_count, &excluded, &mean,
                          &sigmean, &sigma, limit, station);
  if (!(sigma > kScattered)) return mean;
  for (int kept = s.m_count - excluded; kept >= 3;) {
    Qc::Qc_signRobust(s.m_count, s.m_values, s.m_flags, 1000.0, &excluded, 3.0);
    Qc::Qc_getWgtMean(true, s.m_values, s.m_ids, s.m_flags, s.m_weights, s.m_count, &excluded, &mean,
                      &sigmean, &sigma, limit);
    const int left = s_countUsed(s.m_flags, s.m_count);
    if (left == kept) break;
    kept = left;
  }
  return mean;
}

}  // namespace

double Qc::Qc_mad(const double* values, int n, const int* flags, double fraction, int mode) {
  thread_local std::vector<double> sorted;
  sorted.clear();
  for (int i = 0; i < n; ++i) {
    if (flags == nullptr || flags[i] == kQcUsed) sorted.push_back(values[i]);
  }
  if (sorted.empty()) return 0.0;
  const int count = static_cast<int>(sorted.size());
  int rank = static_cast<int>(std::floor(fraction * count)) - (mode == 0 ? 1 : 0);
  rank = std::clamp(rank, 0, count - 1);
  std::nth_element(sorted.begin(), sorted.begin() + rank, sorted.end(), std::greater<>());
  return sorted[static_cast<std::size_t>(rank)];
}

void Qc::Qc_signRobust(int n, const double* values, int* flags, double limit, int* out, double factor) {
  Trial best;
  double smallest = 1.0e9;
  if (s_countUsed(flags, n) % 2 != 0) {
    best = s_trial(n, values, flags, limit, factor, 1, 1);
  } else {
    // The median of an even set has two neighbours, for the centre and for the spread.
    for (int centreMode = 0; centreMode < 2; ++centreMode) {
      for (int spreadMode = 0; spreadMode < 2; ++spreadMode) {
        const Trial trial = s_trial(n, values, flags, limit, factor, centreMode, spreadMode);
        if (trial.m_kept == 0 || !(trial.m_meanSquare < smallest)) continue;
        smallest = trial.m_meanSquare;
        best = trial;
      }
    }
  }
  const bool none = best.m_kept < 2;
  *out = 0;
  for (int i = 0; i < n; ++i) {
    if (!none && best.m_keeps(values[i], flags[i], limit, factor)) continue;
    if (flags[i] == kQcUsed) flags[i] = kQcSignRobust;
    ++*out;
  }
}

int Qc::Qc_getMean(const double* values, const int* flags, const double* weights, int n, int* excluded,
                   double* mean, double* sigmean, double* sigma) {
  *mean = 0.0;
  *sigmean = *sigma = kNone;
  double sumWeight = 0.0, sum = 0.0;
  int used = 0;
  for (int i = 0; i < n; ++i) {
    if (flags[i] != kQcUsed) continue;
    sumWeight += weights[i];
    sum += weights[i] * values[i];
    ++used;
  }
  *excluded = std::max(n, 0) - used;
  if (used == 0) return 0;
  *mean = sum / sumWeight;
  double squares = 0.0;
  for (int i = 0; i < n; ++i) {
    if (flags[i] == kQcUsed) squares += weights[i] * (values[i] - *mean) * (values[i] - *mean);
  }
  *sigma = used > 1 ? std::sqrt(squares / (used - 1)) : 0.0;
  *sigmean = *sigma / std::sqrt(sumWeight);
  return used;
}

void Qc::Qc_getWgtMean(bool trim, const double* values, const int*, int* flags, const double* weights, int n,
                       int* out, double* mean, double* sigmean, double* sigma, double limit) {
  s_getWgtMean(trim, values, flags, weights, n, out, mean, sigmean, sigma, limit, [](int, double) {});
}

void Qc::Qc_getWgtMean_range(bool trim, const double* values, const int* ids, int* flags,
                             const double* weights, int n, int* out, double* mean, double* sigmean,
                             double* sigma, double limit, const char* station) {
  const Deploy& deploy = s_config();
  const char* function = __func__;
  s_getWgtMean(trim, values, flags, weights, n, out, mean, sigmean, sigma, limit, [&](int i, double rest) {
    Logtrace::m_logStatInfo(
        "[%s,%d]:[%d %lf] %s %s remove range observation due to bias %12.3lf (v) %12.3lf (mean) "
        "%12.3lf (bias)\n",
        function, __LINE__, deploy.m_curMjd, deploy.m_curSod, station, deploy.m_cprn[ids[i]].c_str(),
        values[i], rest, values[i] - rest);
  });
}

int Qc::Qc_detectRangeOmc(Station* sta, int* flags) {
  const Deploy& deploy = s_config();
  std::fill(flags, flags + kMaxSat, 0);
  RangeSample sample;
  bool changed = false;
  int clockSystem = kUnset;  // the reference, or the first system with values while it has none
  double clockMean = 0.0;
  for (const char* letter = deploy.m_syslist; *letter != '\0'; ++letter) {
    const int isys = s_systemIndex(*letter);
    if (isys < 0) continue;
    s_gather(*sta, isys, sample);
    if (sample.m_count == 0) continue;
    const double mean = s_trimRanges(sample, deploy.m_rangelimit, sta->m_name.c_str());
    for (int k = 0; k < sample.m_count; ++k) {
      flags[sample.m_ids[k]] = sample.m_flags[k];
      changed = changed || sample.m_flags[k] != kQcUsed;
    }
    const bool anyKept = s_countUsed(sample.m_flags, sample.m_count) > 0;
    if (anyKept && (clockSystem == kUnset || isys == deploy.m_refsys)) {
      clockSystem = isys;
      clockMean = mean;
    }
  }
  // Residuals that share a mean are a receiver clock: the reference carries it, so that the
  // emission times of the next pass see it.
  if (std::isfinite(clockMean) && clockSystem != kUnset && deploy.m_refsys >= 0 && deploy.m_refsys < kSys) {
    double& clock = sta->m_rclk[deploy.m_refsys];
    if (std::fabs(clockMean) / kLight > 1.0e-7 || clock == 0.0) {
      clock += clockMean;
      changed = true;
    }
  }
  return changed ? 1 : 0;
}

}  // namespace tarvio
