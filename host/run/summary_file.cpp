// Writes the figures of a run and what was decided about its integers.

#include "run/summary_file.h"

#include <string>

#include "text/json_file.h"

namespace gnx {

namespace {

Json::Value orNull(const std::optional<double>& value) { return value ? Json::Value(*value) : Json::Value(); }

Json::Value toJson(const ErrorStatistics& e) {
  Json::Value errors(Json::objectValue);
  const std::pair<const char*, const SeriesStatistics*> series[] = {
      {"east", &e.east}, {"north", &e.north}, {"up", &e.up}};
  for (const auto& [name, s] : series) {
    errors[name]["mean_m"] = s->mean;
    errors[name]["rms_m"] = s->rms;
    errors[name]["largest_m"] = s->largest;
  }
  errors["epochs"] = static_cast<Json::UInt64>(e.east.count);
  return errors;
}

Json::Value toJson(const StationResult& r) {
  Json::Value position(Json::objectValue);
  position["station"] = r.station;
  position["point"] = "marker";
  position["frame"] = r.frame;
  position["time"] = formatTime(r.time);
  position["epoch_year"] = yearOf(r.time);
  for (const double x : r.position) position["xyz_m"].append(x);
  if (!r.hasSigmas) return position;
  for (const double sigma : r.sigma) position["sigma_east_north_up_m"].append(sigma);
  position["ellipse_95"]["major_m"] = r.major_m;
  position["ellipse_95"]["minor_m"] = r.minor_m;
  position["ellipse_95"]["azimuth_deg"] = r.azimuth_deg;
  position["height_95_m"] = r.height95_m;
  return position;
}

}  // namespace

void writeSummaryFile(const std::filesystem::path& file, const RunSummary& s,
                      const std::optional<StationResult>& station, const std::filesystem::path& integers) {
  Json::Value root(Json::objectValue);
  root["program"] = std::string("gnx ") + GNX_VERSION;
  root["begin"] = formatTime(s.begin);
  root["end"] = formatTime(s.end);
  root["epochs"] = static_cast<Json::UInt64>(s.epochs);
  root["solved"] = static_cast<Json::UInt64>(s.solved);
  root["satellites_mean"] = s.satellitesMean;
  root["sigma0_median"] = s.sigma0Median;
  root["fixed_share"] = s.fixedShare;
  root["first_fix_s"] = orNull(s.firstFix);
  root["horizontal_convergence_s"] = orNull(s.horizontalConvergence);
  root["vertical_convergence_s"] = orNull(s.verticalConvergence);
  root["against_reference"] = s.againstReference;
  if (s.whole.east.count > 0) root["errors"]["whole_run"] = toJson(s.whole);
  if (s.afterHour) root["errors"]["after_1_h"] = toJson(*s.afterHour);
  if (s.tail) root["errors"]["last_part"] = toJson(*s.tail);
  if (station) root["position"] = toJson(*station);
  if (std::filesystem::exists(integers)) root["integers"] = readJsonFile(integers);
  writeJsonFile(file, root);
}

}  // namespace gnx
