// Learns the errors of codes and phases and weights the rows of an epoch by them.

#include "Core/Filter/NoiseMonitor.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Common/CMat.h"
#include "Common/Constants.h"
#include "Common/ElevationWeight.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

constexpr double kDeg = kDegToRad;
constexpr double kBandFrom[] = {0.0, 12.0 * kDeg, 18.0 * kDeg, 26.0 * kDeg, 38.0 * kDeg, 55.0 * kDeg};
constexpr double kBandMiddle[] = {9.0 * kDeg,  15.0 * kDeg, 22.0 * kDeg,
                                  32.0 * kDeg, 46.0 * kDeg, 68.0 * kDeg};
constexpr double kLeastInterval_s = 1e-3;
constexpr double kLeastShare = 0.3;  ///< of redundancy, for a phase to tell something of its own error
constexpr int kLeastRedundancy = 3;  ///< of a pair of epochs, for phases

double s_square(double x) { return x * x; }

/// Factor on the sigma of a code that stands apart from those of its arc before it, 1 for one that does not:
/// what a wall reflects is no sample of the receiver's errors.
template <class Samples>
double s_doubt(const Samples& samples, double value, double sigma) {
  constexpr std::size_t kLeastSamples = 3;
  constexpr double kUsual = 3.0;  // sigmas
  if (samples.size() < kLeastSamples || !(sigma > 0.0)) return 1.0;
  const auto n = static_cast<double>(samples.size());
  double sum = 0.0;
  for (const auto& sample : samples) sum += sample.value;
  const double apart = std::fabs(value - sum / n) / sigma / std::sqrt(1.0 + 1.0 / n);
  return apart > kUsual ? s_square(apart / kUsual) : 1.0;
}

/// The lag to which a span belongs, -1 for none. tau: correlation time, s.
int s_lagOf(double span, double tau) {
  for (int lag = 0; lag < LagStatistics::kLags; ++lag) {
    const double beyond = span - tau * LagStatistics::kShare[static_cast<std::size_t>(lag)];
    if (std::fabs(beyond) < 0.01 * tau) return lag;
    if (beyond < 0.0) break;  // lags rise
  }
  return -1;
}

/// Slant ionosphere on slot a from the phases of slots a and b, m, but for a constant.
double s_phaseIonosphere(const double* xx, const double* freq, int a, int b) {
  return (xx[a] - xx[b]) / (s_square(freq[a] / freq[b]) - 1.0);
}

}  // namespace

bool NoiseMonitor::m_isOn() const { return s_config().m_noise.m_on; }

double NoiseMonitor::m_spacing() const {
  return std::max(m_interval_s, s_config().m_noise.m_correlation_s * LagStatistics::kShare[0] / 2.0);
}

int NoiseMonitor::s_band(double elev) {
  int band = 0;
  while (band + 1 < kBands && elev >= kBandFrom[band + 1]) ++band;
  return band;
}

NoiseMonitor::Levels NoiseMonitor::s_prior(const NoiseLevel& zenith) {
  Levels prior;
  for (std::size_t band = 0; band < kBands; ++band) {
    const double factor = s_elevationFactor(kBandMiddle[band]);
    prior[band] = {zenith.white / factor, zenith.slow / factor};
  }
  return prior;
}

void NoiseMonitor::Bands::m_add(int band, int lag, double halfSquare, double weight) {
  const auto b = static_cast<std::size_t>(band);
  statistics[b].m_add(lag, halfSquare, weight);
  whole.m_add(lag, halfSquare * s_square(s_elevationFactor(kBandMiddle[b])), weight);
}

void NoiseMonitor::Bands::m_fit(const Levels& prior) {
  for (std::size_t band = 0; band < kBands; ++band) level[band] = statistics[band].m_fit(prior[band]);
}

NoiseLevel NoiseMonitor::m_level(int isys, int slot, int kind, double elev) const {
  const auto& level = s_isPhaseRow(kind)
                          ? m_allPhases.level
                          : m_codeBands[std::max(isys, 0)][std::clamp(slot, 0, kFreq - 1)].level;
  if (elev <= kBandMiddle[0]) {
    // Below the lowest middle the usual law goes on.
    const double grown = s_elevationFactor(kBandMiddle[0]) / std::max(s_elevationFactor(elev), 1e-3);
    return {level[0].white * grown, level[0].slow * grown};
  }
  std::size_t upper = 1;
  while (upper + 1 < kBands && elev > kBandMiddle[upper]) ++upper;
  const NoiseLevel &low = level[upper - 1], &high = level[upper];
  const double share =
      std::min((elev - kBandMiddle[upper - 1]) / (kBandMiddle[upper] - kBandMiddle[upper - 1]), 1.0);
  return {low.white + share * (high.white - low.white), low.slow + share * (high.slow - low.slow)};
}

double NoiseMonitor::m_instant(int isys, int slot, int kind, double elev) const {
  return s_instantSigma(m_level(isys, slot, kind, elev));
}

double NoiseMonitor::m_expectedShare(int isys, int slot, int kind, double elev) const {
  constexpr double kLeast = 0.5;  // of what the configuration expects
  const NoiseSettings& settings = s_config().m_noise;
  const NoiseLevel& prior = s_isPhaseRow(kind) ? settings.m_phase : settings.m_code;
  const double expected =
      std::max(m_instant(isys, slot, kind, elev), kLeast * s_instantSigma(prior) / s_elevationFactor(elev));
  return expected / m_effective(isys, slot, kind, elev);
}

double NoiseMonitor::m_effective(int isys, int slot, int kind, double elev) const {
  // Phases tie an epoch to the one before; they must not become much weaker than what else ties them. Codes
  // alone say where the ambiguities are. At many epochs a second they may go on losing weight as fast as
  // epochs come: slow errors of phases, believed to be new ones twenty times a second, would move the
  // ambiguities.
  constexpr double kMostOfPhase = 3.0;
  const NoiseLevel level = m_level(isys, slot, kind, elev);
  const double sigma = s_effectiveSigma(level, m_interval_s, s_config().m_noise.m_correlation_s);
  if (!s_isPhaseRow(kind)) return sigma;
  return std::min(sigma, kMostOfPhase / std::sqrt(std::min(m_interval_s, 1.0)) * s_instantSigma(level));
}

void NoiseMonitor::m_weigh(Station& sta, double mjd, double sod, double tick_s) {
  const Deploy& config = s_config();
  const double t = mjd * kDay + sod;
  // An epoch is worth the more the longer it is since the one before; the first one counts as a tick.
  const double since = t - m_last;
  m_interval_s = since > kLeastInterval_s && since < 4.0 * config.m_noise.m_correlation_s ? since : tick_s;
  m_last = t;
  for (int isat = 0; isat < config.m_nsat; ++isat) {
    const Ssat_t& sat = sta.m_sat[isat];
    const int isys = config.m_sysOfRow(isat), slots = std::min(config.m_nfreqUsed[isys], kFreq);
    if (std::any_of(sat.m_slip, sat.m_slip + slots, [](int slip) { return slip != kSlipNone; })) {
      ++m_arcs[isat];
      for (int slot = 0; slot < slots; ++slot) m_codes.erase(isat * kFreq + slot);
    }
    std::fill_n(m_doubt[isat], kFreq, 1.0);
    if (slots > 1) m_followIonosphere(sat, isat, t);
    for (int slot = 0; slot < slots; ++slot) m_learnCode(sta, isat, slot, t);
  }
  m_refit();
  m_strength.m_learn(sta, t);
  for (int row = 0; row < sta.m_nobs; ++row) {
    const auto [isat, slot, kind, number] = sta.m_index(row);
    Ssat_t& sat = sta.m_sat[isat];
    double doubt = m_strength.m_doubt(sat, config.m_sysOfRow(isat));
    if (kind == kRowCode)
      doubt *= m_residuals.m_scale() *
               std::max(m_doubt[isat][slot], m_residuals.m_doubt(isat, slot, m_arcs[isat], t));
    const double weight = 1.0 / doubt / m_effective(config.m_sysOfRow(isat), slot, kind, sat.m_elev);
    sta.m_wgtList[row] = sat.m_wgt[(kind == kRowCode ? kFreq : 0) + slot] = weight;
  }
}

/// A walk as wide as what the phases show: by successive epochs on average, and over the last minutes, where
/// a gradient or a wave goes on in one direction and soon leaves a walk that knows its single steps alone.
void NoiseMonitor::m_followIonosphere(const Ssat_t& sat, int isat, double t) {
  constexpr double kMemory_s = 300.0, kTrend_s = 120.0, kRateSpan_s = 60.0, kShortest_s = 10.0;
  Ionosphere& ion = m_ionosphere[isat];
  if (sat.m_xx[0] == 0.0 || sat.m_xx[1] == 0.0) return;
  const double* freq = s_config().m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double value = s_phaseIonosphere(sat.m_xx, freq, 0, 1), span = t - ion.t;
  if (ion.arc != m_arcs[isat] || span < 0.0 || span >= kMemory_s) {
    ion.past.clear();
  } else if (span > kLeastInterval_s) {
    const double share = std::min(1.0, 2.0 * span / kMemory_s);
    ion.steps += share * (s_square(value - ion.value) / span - ion.steps);
  }
  ion.trend = 0.0;
  for (const Sample& old : ion.past)
    if (t - old.t >= kShortest_s) ion.trend = std::max(ion.trend, s_square(value - old.value) / (t - old.t));
  const auto recent = std::ranges::find_if(ion.past, [&](const Sample& s) { return t - s.t <= kRateSpan_s; });
  if (recent != ion.past.end() && t - recent->t >= kShortest_s) {
    ion.rate = (value - recent->value) / (t - recent->t);
    ion.rateTime = t;
  }
  if (ion.past.empty() || t - ion.past.back().t >= kShortest_s) ion.past.push_back({t, value});
  while (t - ion.past.front().t > kTrend_s) ion.past.pop_front();
  ion.t = t;
  ion.value = value;
  ion.arc = m_arcs[isat];
}

SlipExpectation NoiseMonitor::m_slipExpectation(int isat, double t, double elev) const {
  constexpr double kRateServes_s = 120.0;  // behind a slip too: the ionosphere knows nothing of it
  SlipExpectation expected;
  if (!m_isOn() || elev <= 0.0) return expected;
  const int isys = s_config().m_sysOfRow(isat);
  expected.phaseSigma = m_instant(isys, 0, kRowPhase, elev);
  expected.codeSigma = m_instant(isys, 0, kRowCode, elev);
  const Ionosphere& ion = m_ionosphere[isat];
  expected.rateKnown = ion.rateTime >= 0.0 && t > ion.rateTime && t - ion.rateTime <= kRateServes_s;
  expected.ionosphereRate = ion.rate;
  expected.frequency = s_config().m_satellites[static_cast<std::size_t>(isat)].m_freq[0];
  return expected;
}

void NoiseMonitor::m_learnCode(const Station& sta, int isat, int slot, double t) {
  const Deploy& config = s_config();
  const Ssat_t& sat = sta.m_sat[isat];
  const int partner = slot == 0 ? 1 : 0, isys = config.m_sysOfRow(isat);
  const double* xx = sat.m_xx;
  if (partner >= config.m_nfreqUsed[isys] || xx[slot] == 0.0 || xx[partner] == 0.0 || xx[kFreq + slot] == 0.0)
    return;
  const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
  const double tau = config.m_noise.m_correlation_s, spacing = m_spacing();
  auto& samples = m_codes[isat * kFreq + slot];
  if (!samples.empty() && (t < samples.back().t || t - samples.back().t > 2.0 * tau)) samples.clear();
  if (!samples.empty() && t - samples.back().t < spacing - 0.5 * m_interval_s) return;
  const int band = s_band(sat.m_elev);
  const double value = xx[kFreq + slot] - xx[slot] - 2.0 * s_phaseIonosphere(xx, freq, slot, partner);
  m_doubt[isat][slot] = s_doubt(samples, value, m_instant(isys, slot, kRowCode, sat.m_elev));
  for (const Sample& old : samples) {
    const double span = t - old.t;
    const int lag = s_lagOf(span, tau);
    if (lag < 0) continue;
    const double half = 0.5 * s_square(value - old.value);
    const double worth = std::min(1.0, std::max(spacing, m_interval_s) / std::min(span, tau));
    for (Bands* bands : {&m_codeBands[isys][slot], &m_allCodes}) bands->m_add(band, lag, half, worth);
  }
  samples.push_back({t, value});
  while (t - samples.front().t > 2.02 * tau) samples.pop_front();
}

void NoiseMonitor::m_refit() {
  const NoiseSettings& settings = s_config().m_noise;
  m_allCodes.m_fit(m_allCodes.m_scaled(settings.m_code));
  s_forEachSystem([&](int isys) {
    for (int slot = 0; slot < std::min(s_config().m_nfreqUsed[isys], kFreq); ++slot)
      m_codeBands[isys][slot].m_fit(m_allCodes.level);
  });
  m_allPhases.m_fit(m_allPhases.m_scaled(settings.m_phase));
}

void NoiseMonitor::m_learnResiduals(const SrifFilter& filter) {
  const Deploy& config = s_config();
  if (!m_isOn() || !s_has(config.m_obscomb, "RAW") || filter.m_stations.empty()) return;
  const double t = filter.mjd * kDay + filter.sod;
  for (int row = 0; row < filter.nobs; ++row) {
    const auto [isat, kind, slot, ista, place] = filter.m_origin(row);
    if (kind != kRowCode || ista != 0) continue;
    const double elev = filter.m_stations[0].m_sat[isat].m_elev;
    const NoiseLevel level = m_level(config.m_sysOfRow(isat), slot, kRowCode, elev);
    m_residuals.m_add(isat, slot, m_arcs[isat], t, filter.resi[row], level);
  }
  m_residuals.m_endEpoch(t);
}

void NoiseMonitor::m_learnPhases(const SrifFilter& filter) {
  const Deploy& config = s_config();
  // Combined rows keep the configured phases.
  if (!m_isOn() || !s_has(config.m_obscomb, "RAW") || filter.m_stations.empty() || filter.nobs < 1) return;
  const Station& sta = filter.m_stations[0];
  const double t = filter.mjd * kDay + filter.sod, tau = config.m_noise.m_correlation_s;
  if (!m_phases.empty() && t - m_phases.back().t < m_spacing() - 0.5 * m_interval_s) return;

  // Residuals by satellite and slot, with the ambiguity in them.
  std::map<int, std::array<double, kFreq>> phases;
  for (int row = 0; row < filter.nobs; ++row) {
    const auto [isat, kind, slot, ista, place] = filter.m_origin(row);
    const SrifPamt* record = kind == kRowPhase && ista == 0 ? filter.m_pm(0, isat, slot) : nullptr;
    if (record) phases[isat][static_cast<std::size_t>(slot)] = filter.resi[row] + record->lam * record->xest;
  }
  PhaseEpoch epoch;
  epoch.t = t;
  for (const auto& [isat, value] : phases) {
    if (value[0] == 0.0 || value[1] == 0.0) continue;
    const double* freq = config.m_satellites[static_cast<std::size_t>(isat)].m_freq;
    const double g = s_square(freq[0] / freq[1]), a = g / (g - 1.0), b = -1.0 / (g - 1.0);
    const Ssat_t& sat = sta.m_sat[isat];
    epoch.rows.push_back({isat,
                          config.m_sysOfRow(isat),
                          a * value[0] + b * value[1],
                          std::hypot(a, b),
                          sat.m_elev,
                          {sat.m_los[0], sat.m_los[1], sat.m_los[2]},
                          sat.m_mapwet,
                          m_arcs[isat]});
  }
  if (!m_phases.empty() && t < m_phases.back().t) m_phases.clear();
  for (const PhaseEpoch& old : m_phases)
    if (const int lag = s_lagOf(t - old.t, tau); lag >= 0) m_learnPair(epoch, old, lag);
  m_phases.push_back(std::move(epoch));
  while (t - m_phases.front().t > 2.02 * tau) m_phases.pop_front();
}

/// What is left of the differences of two epochs behind position, zenith delay and clocks: residuals v of a
/// least squares fit, each with the share r = 1 - a N^-1 a' of its own error, tell v^2/r.
void NoiseMonitor::m_learnPair(const PhaseEpoch& now, const PhaseEpoch& then, int lag) {
  constexpr int kCommon = 4, kKnown = kCommon + 1;
  struct Difference {
    double design[kKnown], y, sigma;  ///< position, zenith delay, the system's clock
    int band, isys;
  };
  std::vector<Difference> rows;
  rows.reserve(now.rows.size());
  std::array<int, kSys> clock;
  clock.fill(-1);
  auto old = then.rows.begin();
  for (const PhaseEpoch::Row& row : now.rows) {
    while (old != then.rows.end() && old->isat < row.isat) ++old;
    if (old == then.rows.end()) break;
    if (old->isat != row.isat || old->arc != row.arc) continue;
    const double own = m_instant(row.isys, 0, kRowPhase, row.elev), sigma = row.amplification * own;
    rows.push_back(
        {{row.los[0] / sigma, row.los[1] / sigma, row.los[2] / sigma, row.wet / sigma, 1.0 / sigma},
         (row.value - old->value) / sigma,
         sigma / row.amplification,
         s_band(row.elev),
         row.isys});
    clock[static_cast<std::size_t>(row.isys)] = 0;
  }
  int columns = kCommon;
  for (int& column : clock)
    if (column == 0) column = columns++;
  if (static_cast<int>(rows.size()) - columns < kLeastRedundancy) return;

  const auto columnOf = [&](const Difference& d, int i) {
    return i < kCommon ? i : clock[static_cast<std::size_t>(d.isys)];
  };
  double normal[(kCommon + kSys) * (kCommon + kSys)] = {}, b[kCommon + kSys] = {}, x[kCommon + kSys] = {};
  for (const Difference& d : rows)
    for (int i = 0; i < kKnown; ++i) {
      const int row = columnOf(d, i);
      b[row] += d.design[i] * d.y;
      for (int j = 0; j < kKnown; ++j) normal[row * columns + columnOf(d, j)] += d.design[i] * d.design[j];
    }
  if (CMat::CMat_Inverse(normal, columns, columns) != 0) return;
  for (int i = 0; i < columns; ++i)
    for (int j = 0; j < columns; ++j) x[i] += normal[i * columns + j] * b[j];
  const double worth =
      std::min(1.0, m_spacing() / std::min(now.t - then.t, s_config().m_noise.m_correlation_s));
  for (const Difference& d : rows) {
    double known = 0.0, v = d.y;
    for (int i = 0; i < kKnown; ++i) {
      const double* row = normal + columnOf(d, i) * columns;
      for (int j = 0; j < kKnown; ++j) known += d.design[i] * row[columnOf(d, j)] * d.design[j];
      v -= d.design[i] * x[columnOf(d, i)];
    }
    const double share = 1.0 - known;
    if (share < kLeastShare) continue;
    m_allPhases.m_add(d.band, lag, 0.5 * s_square(v * d.sigma) / share, worth * share);
  }
}

}  // namespace tarvio
