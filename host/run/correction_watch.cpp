// Correlates radial corrections with antenna heights, and clock corrections with what codes say of clocks.

#include "run/correction_watch.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

#include "geometry/vector3.h"
#include "gnx/ephemeris.h"
#include "gnx/signal.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kFewest = 5;  ///< satellites that tell anything
constexpr double kPace_s = 60.0;    ///< between epochs that are looked at
constexpr std::size_t kIssues = 6;  ///< of a satellite; corrections refer to one of the last

/// Broadcast orbits of other systems have frames of their own.
bool tells(const SatName& sat) { return sat[0] == 'G' || sat[0] == 'E'; }

/// Ionosphere-free code of the pair to which the satellite's clock refers, m.
std::optional<double> ionosphereFreeCode(const SatObs& satellite) {
  const auto range = [&](const std::string& wanted) {
    const auto found =
        std::ranges::find_if(satellite.signals, [&](const SignalObs& s) { return wanted == s.code.data(); });
    return found == satellite.signals.end() ? 0.0 : found->range;
  };
  const char system = satellite.sat[0];
  for (const auto& [first, second] : clockReferences(system)) {
    const double p1 = range(first.substr(1)), p2 = range(second.substr(1));
    const auto f1 = carrierFrequency(system, first[1]), f2 = carrierFrequency(system, second[1]);
    if (p1 == 0.0 || p2 == 0.0 || !f1 || !f2) continue;
    const double g1 = *f1 * *f1, g2 = *f2 * *f2;
    return (g1 * p1 - g2 * p2) / (g1 - g2);
  }
  return std::nullopt;
}

/// Range from a satellite at transmission to a receiver at reception in axes that turn with the Earth.
double rangeTo(const Vector3& satellite, const Vector3& receiver) {
  constexpr double kEarthRate = 7.2921151467e-5;
  return length(minus(satellite, receiver)) +
         kEarthRate / kLightSpeed * (satellite[0] * receiver[1] - satellite[1] * receiver[0]);
}

/// Takes the mean off values of one system, whose receiver clock it holds.
void centreOn(std::vector<double>& values) {
  double sum = 0.0;
  for (const double v : values) sum += v;
  for (double& v : values) v -= sum / static_cast<double>(values.size());
}

}  // namespace

/// Of a deployment whose antenna file is there; the engine says what is wrong with others.
CorrectionWatch::CorrectionWatch(const Deployment& deployment, const GpsTime& date)
    : m_massCentre(deployment.toMassCentre()) {
  const auto antennas = deployment.file("antpcv");
  if (std::filesystem::exists(antennas)) m_heights = phaseCentreHeights(antennas, date);
}

void CorrectionWatch::beginAnew() {
  m_corrections.clear();
  m_radial.clear();
  m_clocks.clear();
}

void CorrectionWatch::take(const Event& event) {
  if (const auto* message = std::get_if<BroadcastEph>(&event.record)) {
    if (!tells(message->sat)) return;
    auto& messages = m_messages[message->sat];
    messages[issueOfData(*message)] = *message;
    const auto toe = [](const auto& item) { return item.second.toe; };
    if (messages.size() > kIssues) messages.erase(std::ranges::min_element(messages, {}, toe));
  } else if (const auto* batch = std::get_if<CorrectionBatch>(&event.record)) {
    take(*batch);
  }
}

void CorrectionWatch::take(const CorrectionBatch& batch) {
  m_corrections.clear();
  for (const OrbitClockCorrection& c : batch.orbitClock) {
    if (!tells(c.sat)) continue;
    m_corrections[c.sat] = c;
    const auto heights = m_heights.find(c.sat);
    if (heights == m_heights.end() || heights->second.empty()) continue;
    const double height = heights->second.begin()->second;
    Sums& sums = m_radial[c.sat];
    sums.product -= c.deph[0] * height;
    sums.square += height * height;
  }
}

/// What the codes say of the broadcast clock beside its correction, the receiver's clock in it, m.
std::optional<double> CorrectionWatch::clockError(const SatObs& satellite, const ObsEpoch& epoch,
                                                  const Solution& solution,
                                                  const OrbitClockCorrection& correction) const {
  constexpr double kLowest_deg = 20.0;
  const auto seen = std::ranges::find(solution.satellites, satellite.sat, &SatelliteSolution::sat);
  const auto messages = m_messages.find(satellite.sat);
  const auto code = ionosphereFreeCode(satellite);
  if (seen == solution.satellites.end() || seen->elevation_deg < kLowest_deg || !code ||
      messages == m_messages.end())
    return std::nullopt;
  const auto message = messages->second.find(correction.iod);
  if (message == messages->second.end()) return std::nullopt;
  const GpsTime sent = epoch.time + -*code / kLightSpeed;
  const SatState state = evaluateBroadcast(message->second, sent + -broadcastClock(message->second, sent));
  const double relativity = -2.0 * dot(state.position, state.velocity) / kLightSpeed;
  const ZenithDelaySolution& zenith = solution.zenith;
  const double troposphere = (zenith.aprioriHydrostatic_m + zenith.aprioriWet_m + zenith.correction_m) /
                             std::sin(seen->elevation_deg * std::numbers::pi / 180.0);
  return rangeTo(state.position, solution.position) + troposphere - kLightSpeed * state.clock - relativity -
         *code;
}

void CorrectionWatch::take(const ObsEpoch& epoch, const Solution& solution) {
  if (!solution.solved() || (m_last && epoch.time - *m_last < kPace_s)) return;
  m_last = epoch.time;
  for (const char system : {'G', 'E'}) {
    std::vector<double> errors, corrections;
    std::vector<SatName> names;
    for (const SatObs& satellite : epoch.sats) {
      const auto correction = m_corrections.find(satellite.sat);
      if (satellite.sat[0] != system || correction == m_corrections.end()) continue;
      const auto error = clockError(satellite, epoch, solution, correction->second);
      if (!error) continue;
      names.push_back(satellite.sat);
      errors.push_back(*error);
      corrections.push_back(correction->second.dclk[0]);
    }
    if (names.size() < 3) continue;
    centreOn(errors);
    centreOn(corrections);
    for (std::size_t i = 0; i < names.size(); ++i) {
      Sums& sums = m_clocks[names[i]];
      sums.product += errors[i] * corrections[i];
      sums.square += corrections[i] * corrections[i];
      sums.count += 1.0;
    }
  }
}

std::optional<double> CorrectionWatch::centre() const {
  double product = 0.0, square = 0.0;
  for (const auto& [sat, sums] : m_radial) {
    product += sums.product;
    square += sums.square;
  }
  if (m_radial.size() < kFewest || !(square > 0.0)) return std::nullopt;
  return product / square;
}

std::optional<double> CorrectionWatch::clockSlope() const {
  constexpr double kTelling_m = 0.1, kSure = 2.0;
  double product = 0.0, square = 0.0, count = 0.0, scatter = 0.0;
  for (const auto& [sat, sums] : m_clocks) {
    product += sums.product;
    square += sums.square;
    count += sums.count;
  }
  if (m_clocks.size() < kFewest || !(count > 0.0) || square < kTelling_m * kTelling_m * count)
    return std::nullopt;
  const double slope = product / square;
  // satellites are independent of each other, epochs of one satellite are not
  for (const auto& [sat, sums] : m_clocks) scatter += std::pow(sums.product - slope * sums.square, 2);
  if (std::fabs(slope) < kSure * std::sqrt(scatter) / square) return std::nullopt;
  return slope;
}

std::map<CorrectionFault, std::string> CorrectionWatch::faults() const {
  std::map<CorrectionFault, std::string> sentences;
  if (const auto slope = clockSlope(); slope && *slope < -0.3)
    sentences.emplace(
        CorrectionFault::clockSign,
        printed("the clock corrections make the residuals of the codes larger than broadcast clocks alone: "
                "what the codes show is %.1f times the corrections; check their sign, corrected clock = "
                "broadcast clock + correction",
                *slope));
  const auto centre = this->centre();
  if (!centre || (*centre > 0.5) == m_massCentre) return sentences;
  sentences.emplace(
      CorrectionFault::centre,
      printed("the corrected orbits lie %.2f of the antennas' heights beyond the broadcast ones, which are "
              "those of the antennas: they are orbits of the %s, but are taken as those of the %s; give "
              "--refpoint %s, or make the deployment with it",
              *centre, m_massCentre ? "antennas" : "centres of mass",
              m_massCentre ? "centres of mass" : "antennas", m_massCentre ? "APC_ITRF" : "CoM_ITRF"));
  return sentences;
}

}  // namespace gnx
