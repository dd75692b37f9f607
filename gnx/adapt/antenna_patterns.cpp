// Takes phase-centre variations off the observations, by nadir, zenith and azimuth.

#include <algorithm>
#include <cmath>
#include <sstream>

#include "deployment/antex_file.h"
#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

constexpr double kDegrees = 57.29577951308232;

std::vector<double> metres(const std::string& numbers) {
  std::vector<double> values;
  std::istringstream in(numbers);
  for (double mm; in >> mm;) values.push_back(mm * 1e-3);
  return values;
}

double interpolate(const std::vector<double>& values, double place) {
  place = std::clamp(place, 0.0, static_cast<double>(values.size() - 1));
  const auto i = static_cast<std::size_t>(place);
  const auto next = std::min(i + 1, values.size() - 1);
  return values[i] + (values[next] - values[i]) * (place - static_cast<double>(i));
}

/// Azimuth rows, "   45.0   0.00  -0.44 ...", all of them or none.
void takeRows(AntennaPattern& pattern, const AntexFrequency& frequency, double azimuthStep) {
  if (!(azimuthStep > 0.0)) return;
  for (const std::string& line : frequency.azimuthRows) {
    std::vector<double> row = metres(line.size() > 8 ? line.substr(8) : "");
    if (row.size() == pattern.values.size()) pattern.rows.push_back(std::move(row));
  }
  const auto wanted = static_cast<std::size_t>(std::lround(360.0 / azimuthStep)) + 1;
  if (pattern.rows.size() == wanted && !pattern.values.empty()) pattern.azimuthStep = azimuthStep;
  else pattern.rows.clear();
}

AntennaPattern patternOf(const AntexBlock& block, const AntexFrequency& frequency) {
  AntennaPattern pattern;
  double azimuthStep = 0.0;
  for (const std::string& line : block.head) {
    if (line.size() > 60 && line.compare(60, 4, "DAZI") == 0) std::istringstream(line) >> azimuthStep;
    if (line.size() > 60 && line.compare(60, 4, "ZEN1") == 0) {
      std::istringstream in(line.substr(0, 60));
      double last = 0.0;
      in >> pattern.first >> last >> pattern.step;
    }
  }
  for (const std::string& line : frequency.lines) {
    if (line.compare(0, 8, "   NOAZI") != 0) continue;
    pattern.values = metres(line.substr(8));
  }
  if (!(pattern.step > 0.0)) pattern.values.clear();
  takeRows(pattern, frequency, azimuthStep);
  return pattern;
}

bool sameType(const std::string& a, const std::string& b) {
  const auto trimmed = [](std::string s) {
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
  };
  return trimmed(a) == trimmed(b);
}

/// Antenna type without a radome, for a radome that is not calibrated.
std::string withoutRadome(std::string type) {
  type.resize(16, ' ');
  return type + "NONE";
}

}  // namespace

double AntennaPattern::at(double degrees) const {
  return values.empty() ? 0.0 : interpolate(values, (degrees - first) / step);
}

double AntennaPattern::at(double degrees, double azimuthDeg) const {
  if (azimuthStep == 0.0) return at(degrees);
  const double turn = azimuthDeg - 360.0 * std::floor(azimuthDeg / 360.0);
  const double place = std::min(turn / azimuthStep, static_cast<double>(rows.size() - 1));
  const auto i = std::min(static_cast<std::size_t>(place), rows.size() - 2);
  const double node = (degrees - first) / step, low = interpolate(rows[i], node);
  return low + (interpolate(rows[i + 1], node) - low) * (place - static_cast<double>(i));
}

AntennaPatterns::AntennaPatterns(const std::filesystem::path& antex, const std::string& receiver,
                                 const GpsTime& date)
    : AntennaPatterns(readAntex(antex), receiver, date) {}

AntennaPatterns::AntennaPatterns(const std::vector<AntexBlock>& blocks, const std::string& receiver,
                                 const GpsTime& date) {
  const TableTime day = tableTime(date);
  const auto take = [](const AntexBlock& block, Patterns& to) {
    for (const AntexFrequency& f : block.frequencies) to.insert_or_assign(f.code, patternOf(block, f));
  };
  for (const AntexBlock& block : blocks) {
    if (!block.isSatellite()) continue;
    const SatelliteRecord record = satelliteOf(block);
    if (record.validAt(day)) take(block, m_satellites[block.serial]);
  }
  for (const std::string& type : {receiver, withoutRadome(receiver)}) {
    for (const AntexBlock& block : blocks) {
      if (m_receiver.empty() && !block.isSatellite() && sameType(block.type, type)) take(block, m_receiver);
    }
  }
}

const AntennaPattern* AntennaPatterns::find(const Patterns& patterns, char system, char band) {
  const auto exact = patterns.find(std::string{system, '0', band});
  if (exact != patterns.end()) return &exact->second;
  const auto wanted = carrierFrequency(system, band);
  if (!wanted) return nullptr;
  const AntennaPattern* nearest = nullptr;
  double best = 0.0;
  for (const auto& [code, pattern] : patterns) {
    const auto frequency = code.size() == 3 ? carrierFrequency(code[0], code[2]) : std::nullopt;
    if (!frequency || code[0] == 'R') continue;
    const double distance = std::abs(*frequency - *wanted);
    if (nearest == nullptr || distance < best) {
      nearest = &pattern;
      best = distance;
    }
  }
  return nearest;
}

double AntennaPatterns::receiver(char system, char band, double zenithDeg, double azimuthDeg) const {
  const AntennaPattern* pattern = find(m_receiver, system, band);
  return pattern == nullptr ? 0.0 : pattern->at(zenithDeg, azimuthDeg);
}

double AntennaPatterns::satellite(const SatName& sat, char band, double nadirDeg) const {
  const auto found = m_satellites.find(sat);
  if (found == m_satellites.end()) return 0.0;
  const AntennaPattern* pattern = find(found->second, sat[0], band);
  return pattern == nullptr ? 0.0 : pattern->at(nadirDeg);
}

PatternCorrector::PatternCorrector(AntennaPatterns patterns, const MessageStore& messages,
                                   const Vector3& position)
    : m_patterns(std::move(patterns)), m_messages(messages), m_position(position), m_active(false) {
  const double r = std::hypot(position[0], position[1], position[2]);
  if (r < 1e6) return;  // unknown
  m_active = true;
  // ellipsoidal normal: geocentric z is flattened by 1 - e^2
  constexpr double kOneMinusE2 = 1.0 - 0.00669437999014;
  const double normal[3] = {position[0], position[1], position[2] / kOneMinusE2};
  const double length = std::hypot(normal[0], normal[1], normal[2]);
  for (std::size_t i = 0; i < 3; ++i) m_up[i] = normal[i] / length;
  const double level = std::hypot(m_up[0], m_up[1]);  // at a pole any direction is east
  m_east = level > 0.0 ? std::array{-m_up[1] / level, m_up[0] / level, 0.0} : std::array{0.0, 1.0, 0.0};
  m_north = {m_up[1] * m_east[2] - m_up[2] * m_east[1], m_up[2] * m_east[0] - m_up[0] * m_east[2],
             m_up[0] * m_east[1] - m_up[1] * m_east[0]};
}

void PatternCorrector::apply(ObsEpoch& epoch) const {
  if (!m_active) return;
  for (SatObs& sat : epoch.sats) {
    const BroadcastEph* eph = m_messages.pick(sat.sat, epoch.time);
    if (eph == nullptr) continue;
    const SatState state = evaluateBroadcast(*eph, epoch.time);
    double d[3], distance = 0.0, east = 0.0, north = 0.0, up = 0.0, nadir = 0.0, radius = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
      d[i] = state.position[i] - m_position[i];
      distance += d[i] * d[i];
      radius += state.position[i] * state.position[i];
    }
    distance = std::sqrt(distance);
    radius = std::sqrt(radius);
    for (std::size_t i = 0; i < 3; ++i) {
      east += d[i] * m_east[i];
      north += d[i] * m_north[i];
      up += d[i] / distance * m_up[i];
      nadir += d[i] / distance * state.position[i] / radius;
    }
    const double zenithDeg = std::acos(std::clamp(up, -1.0, 1.0)) * kDegrees;
    const double nadirDeg = std::acos(std::clamp(nadir, -1.0, 1.0)) * kDegrees;
    const double azimuthDeg = std::atan2(east, north) * kDegrees;
    for (SignalObs& signal : sat.signals) {
      const char band = signal.code[0];
      const auto frequency = carrierFrequency(sat.sat[0], band);
      if (!frequency) continue;
      const double pattern = m_patterns.receiver(sat.sat[0], band, zenithDeg, azimuthDeg) +
                             m_patterns.satellite(sat.sat, band, nadirDeg);
      if (signal.range != 0.0) signal.range -= pattern;
      if (signal.phase != 0.0) signal.phase -= pattern * *frequency / kLightSpeed;
    }
  }
}

}  // namespace gnx
