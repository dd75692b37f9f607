// Writes a solution as one line of JSON.

#include "live/solution_json.h"

#include <json/json.h>

#include <array>
#include <cmath>
#include <numbers>

#include "gnx/geodesy.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

double rounded(double value, double unit) { return std::round(value / unit) * unit; }

Json::Value orNull(const std::optional<double>& value) { return value ? Json::Value(*value) : Json::Value(); }

Json::Value bandsJson(const SatelliteSolution& sat) {
  Json::Value bands(Json::arrayValue);
  for (const BandSolution& band : sat.bands) {
    Json::Value& b = bands.append(Json::objectValue);
    b["signal"] = band.signal;
    b["snr_dBHz"] = band.snr_dBHz;
    for (const auto& [name, fate] : {std::pair("code", &band.code), std::pair("phase", &band.phase)}) {
      b[name] = fate->fate;
      if (fate->fate == "used") b[std::string(name) + "_residual_m"] = fate->residual_m;
    }
  }
  return bands;
}

void addPosition(const Solution& s, Json::Value& line) {
  const Geodetic g = toGeodetic(s.position);
  for (const double x : s.position) line["position_m"].append(x);
  line["latitude_deg"] = g.latitude * kDegrees;
  line["longitude_deg"] = g.longitude * kDegrees;
  line["height_m"] = g.height;
  for (const auto& row : s.covariance)
    for (const double c : row) line["covariance_m2"].append(c);
}

void addFilter(const Solution& s, Json::Value& line) {
  line["fixed_satellites"] = s.fixed;
  line["ratio"] = s.ratio;
  line["sigma0"] = s.sigma0;
  line["pdop"] = s.dop.position;
  line["hdop"] = s.dop.horizontal;
  line["vdop"] = s.dop.vertical;
  line["zenith_delay_m"] = s.zenith.aprioriHydrostatic_m + s.zenith.aprioriWet_m + s.zenith.correction_m;
  for (const ClockSolution& clock : s.clocks)
    line[clock.isOffset ? "clock_offsets_m" : "clock_m"][std::string(1, clock.system)] = clock.value_m;
}

void addCounts(const Solution& s, Json::Value& line) {
  constexpr std::array<const char*, 6> kSystems = {"G", "R", "E", "C", "B", "J"};
  for (std::size_t i = 0; i < kSystems.size(); ++i)
    if (s.satelliteCounts[i] > 0) line["satellites"][kSystems[i]] = s.satelliteCounts[i];
}

void addSatellites(const Solution& s, Json::Value& line) {
  Json::Value& sky = line["sky"] = Json::Value(Json::arrayValue);
  for (const SatelliteSolution& sat : s.satellites) {
    Json::Value& one = sky.append(Json::objectValue);
    one["sat"] = sat.sat;
    one["azimuth_deg"] = rounded(sat.azimuth_deg, 0.01);
    one["elevation_deg"] = rounded(sat.elevation_deg, 0.01);
    one["bands"] = bandsJson(sat);
  }
}

void addFacts(const Solution& s, const LiveFacts& facts, Json::Value& line) {
  Json::Value& ages = line["ages_s"] = Json::Value(Json::objectValue);
  ages["orbit_clock"] = orNull(s.ages.orbitClock_s);
  ages["code_bias"] = orNull(s.ages.codeBias_s);
  ages["phase_bias"] = orNull(s.ages.phaseBias_s);
  ages["message"] = orNull(facts.message_s);
  line["latency_s"] = rounded(facts.latency_s, 0.001);
  line["corrections"] = facts.corrections;
  for (const auto& [name, seconds] : facts.silent_s) line["silent_s"][name] = rounded(seconds, 0.001);
}

}  // namespace

std::string solutionJson(const Solution& solution, const LiveFacts& facts, bool sky) {
  Json::Value line(Json::objectValue);
  int week = 0;
  line["time_gpst"] = formatTime(solution.time, 3);
  line["sow_s"] = rounded(secondsOfWeek(solution.time, &week), 0.001);
  line["week"] = week;
  line["state"] = nameOf(solution.state);
  if (!solution.why.empty()) line["why"] = solution.why;
  if (solution.solved()) addPosition(solution, line);
  addFilter(solution, line);
  addCounts(solution, line);
  if (sky) addSatellites(solution, line);
  addFacts(solution, facts, line);
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  writer["precision"] = 15;
  return Json::writeString(writer, line) + "\n";
}

}  // namespace gnx
