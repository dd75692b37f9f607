// Takes over the engine's record of an epoch, member by member, and gives its enumerations names.

#include "engine/solution_of.h"

#include <cmath>
#include <cstdio>
#include <ostream>

namespace gnx {

namespace {

ValueFate valueOf(const GNX_EXT::ValueResult& v) {
  return {GNX_EXT::fateName(v.fate), v.residual_m, v.floatResidual_m, v.sigma_m};
}

BandSolution bandOf(const GNX_EXT::BandResult& b) {
  BandSolution band{b.band, b.signal, b.snr_dBHz, valueOf(b.code), valueOf(b.phase), std::nullopt};
  if (b.hasAmbiguity) band.ambiguity = AmbiguitySolution{b.wavelength_m, b.ambiguity, b.arc_s, b.arcStart};
  return band;
}

SatelliteSolution satelliteOf(const GNX_EXT::SatelliteResult& s) {
  SatelliteSolution satellite{s.name, s.azimuth_deg, s.elevation_deg, {}, std::nullopt};
  for (int i = 0; i < s.bands; ++i) satellite.bands.push_back(bandOf(s.band[i]));
  if (s.hasIonosphere) satellite.ionosphere = IonosphereSolution{s.ionosphere_m, s.ionosphereSigma_m};
  return satellite;
}

IntegerSolution integerOf(const GNX_EXT::IntegerResult& i) {
  IntegerSolution integer{
      static_cast<IntegerLevel>(i.level), i.satellite, i.reference, {}, i.value, std::nullopt};
  for (const auto& band : i.bands)
    if (band[0] != '\0') integer.bands.emplace_back(band);
  if (i.fixed) integer.integer = i.integer;
  return integer;
}

EpochAccount accountOf(const GNX_EXT::AccountResult& a) {
  EpochAccount account{a.system, a.values, {}};
  for (std::size_t fate = 0; fate < GNX_EXT::kFates; ++fate)
    if (a.count[fate] != 0)
      account.fates[GNX_EXT::fateName(static_cast<GNX_EXT::Fate>(fate))] = a.count[fate];
  return account;
}

std::optional<double> known(double age) { return std::isfinite(age) ? std::optional(age) : std::nullopt; }

}  // namespace

Solution solutionOf(const GNX_EXT::Result& r) {
  Solution s;
  s.time = {r.time.time, r.time.sec};
  s.state = static_cast<SolutionState>(r.state);
  s.reason = static_cast<SolutionReason>(r.reason);
  s.why = r.why;
  for (std::size_t i = 0; i < 3; ++i) {
    s.position[i] = r.position[i];
    for (std::size_t j = 0; j < 3; ++j) s.covariance[i][j] = r.covariance[3 * i + j];
  }
  s.satelliteCounts = r.counts;
  for (const int count : r.counts) s.rows += 2 * count;
  s.fixed = r.fixed;
  s.ratio = r.ratio;
  s.sigma0 = r.sigma0;
  s.dop = {r.dop.g, r.dop.p, r.dop.h, r.dop.v};
  for (const GNX_EXT::ClockResult& c : r.clocks)
    s.clocks.push_back({c.system, c.isOffset, c.value_m, c.sigma_m});
  s.zenith = {r.zenith.aprioriHydrostatic_m, r.zenith.aprioriWet_m, r.zenith.correction_m, r.zenith.sigma_m};
  s.ages = {known(r.ages.orbitClock_s), known(r.ages.phaseBias_s), known(r.ages.codeBias_s)};
  for (std::size_t i = 0; i < r.levels.size(); ++i) s.levels[i] = {r.levels[i].fixed, r.levels[i].ratio};
  for (const auto& satellite : r.satellites) s.satellites.push_back(satelliteOf(satellite));
  for (const auto& integer : r.integers) s.integers.push_back(integerOf(integer));
  for (const auto& account : r.account) s.account.push_back(accountOf(account));
  return s;
}

const char* nameOf(SolutionState state) {
  switch (state) {
    case SolutionState::none:
      return "none";
    case SolutionState::codes:
      return "codes";
    case SolutionState::floating:
      return "float";
    case SolutionState::extraWideLane:
      return "extra-wide-lane";
    case SolutionState::wideLane:
      return "wide-lane";
    case SolutionState::fixed:
      break;
  }
  return "fixed";
}

std::ostream& operator<<(std::ostream& out, SolutionState state) { return out << nameOf(state); }

std::ostream& operator<<(std::ostream& out, const Position& p) {
  char text[96];
  std::snprintf(text, sizeof text, "%.4f %.4f %.4f", p[0], p[1], p[2]);
  return out << text;
}

}  // namespace gnx
