/// \file run_settings.cpp
/// "gnx.json": what the host passes to the engine by argument.

#include <json/json.h>

#include <cmath>
#include <fstream>

#include "deployment/deployment.h"
#include "formats/input_error.h"

namespace gnx {

namespace {

Json::Value toJson(const std::array<double, 3>& v) {
  Json::Value list(Json::arrayValue);
  for (double x : v) list.append(x);
  return list;
}

std::array<double, 3> toVector(const Json::Value& list) {
  if (list.size() != 3) throw Json::RuntimeError("three numbers expected");
  return {list[0].asDouble(), list[1].asDouble(), list[2].asDouble()};
}

}  // namespace

void writeRunSettings(const std::filesystem::path& dir, const RunSettings& settings) {
  Json::Value root;
  root["mode"] = settings.mode;
  root["interval_s"] = settings.interval_s;
  root["cutoff_deg"] = settings.cutoff_deg;
  root["station"] = settings.stationName;
  root["antenna"] = settings.antenna;
  root["position_m"] = toJson(settings.position_m);
  if (settings.hasAntennaDelta) root["antenna_delta_enu_m"] = toJson(settings.antennaDelta_m);
  const auto file = dir / "gnx.json";
  Json::StreamWriterBuilder builder;
  builder["precision"] = 17;
  std::ofstream out(file);
  out << Json::writeString(builder, root) << '\n';
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

RunSettings readRunSettings(const std::filesystem::path& dir) {
  const auto file = dir / "gnx.json";
  std::ifstream in(file);
  if (!in) throw InputError(file.string(), 0, "cannot be opened; write a deployment with 'gnx init' first");
  Json::Value root;
  std::string errors;
  if (!Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &errors))
    throw InputError(file.string(), 0, errors);
  RunSettings s;
  try {
    s.mode = root.get("mode", s.mode).asString();
    s.interval_s = root.get("interval_s", s.interval_s).asDouble();
    s.cutoff_deg = root.get("cutoff_deg", s.cutoff_deg).asDouble();
    s.stationName = root.get("station", s.stationName).asString();
    s.antenna = root.get("antenna", "").asString();
    if (root.isMember("position_m")) s.position_m = toVector(root["position_m"]);
    if (root.isMember("antenna_delta_enu_m")) {
      s.antennaDelta_m = toVector(root["antenna_delta_enu_m"]);
      s.hasAntennaDelta = true;
    }
  } catch (const Json::Exception& e) {
    throw InputError(file.string(), 0, e.what());
  }
  return s;
}

}  // namespace gnx
