/// \file run_settings.cpp
/// "gnx.json": what the host passes to the engine by argument.

#include <cmath>

#include "gnx/deployment.h"
#include "gnx/error.h"
#include "text/json_file.h"

namespace gnx {

namespace {

/// \throws InputError that names the key
double numberOf(const Json::Value& root, const char* key, double absent, const std::string& file) {
  const Json::Value& value = root[key];
  if (value.isNull()) return absent;
  if (!value.isNumeric()) throw InputError(file, 0, key, "is no number; write it without quotes");
  return value.asDouble();
}

}  // namespace

const char* nameOf(Mode mode) {
  switch (mode) {
    case Mode::static_:
      return "static";
    case Mode::kinematic:
      return "kinematic";
    case Mode::dynamic:
      break;
  }
  return "dynamic";
}

Mode parseMode(const std::string& text) {
  for (const Mode mode : {Mode::static_, Mode::kinematic, Mode::dynamic})
    if (text == nameOf(mode)) return mode;
  throw UsageError("mode '" + text + "' is unknown: static, kinematic or dynamic");
}

const char* nameOf(GalileoKind kind) {
  return kind == GalileoKind::automatic ? "auto" : kind == GalileoKind::fnav ? "fnav" : "inav";
}

GalileoKind parseGalileoKind(const std::string& text) {
  for (const GalileoKind kind : {GalileoKind::automatic, GalileoKind::fnav, GalileoKind::inav})
    if (text == nameOf(kind)) return kind;
  throw UsageError("Galileo's messages '" + text + "' are unknown: auto, fnav or inav");
}

void writeRunSettings(const std::filesystem::path& dir, const RunSettings& settings) {
  Json::Value root;
  root["mode"] = nameOf(settings.mode);
  root["interval_s"] = settings.interval_s;
  root["cutoff_deg"] = settings.cutoff_deg;
  root["station"] = settings.stationName;
  root["antenna"] = settings.antenna;
  root["position_m"] = toJson(settings.position_m);
  if (settings.antennaDelta_m) root["antenna_delta_enu_m"] = toJson(*settings.antennaDelta_m);
  if (settings.galileo != GalileoKind::automatic) root["galileo_messages"] = nameOf(settings.galileo);
  writeJsonFile(dir / "gnx.json", root);
}

RunSettings readRunSettings(const std::filesystem::path& dir) {
  const auto file = dir / "gnx.json";
  const Json::Value root = readJsonFile(file);
  RunSettings s;
  try {
    s.mode = parseMode(root.get("mode", nameOf(s.mode)).asString());
    s.interval_s = numberOf(root, "interval_s", s.interval_s, file.string());
    s.cutoff_deg = numberOf(root, "cutoff_deg", s.cutoff_deg, file.string());
    s.stationName = root.get("station", s.stationName).asString();
    s.antenna = root.get("antenna", "").asString();
    if (root.isMember("position_m")) s.position_m = toVector(root["position_m"]);
    if (root.isMember("antenna_delta_enu_m")) s.antennaDelta_m = toVector(root["antenna_delta_enu_m"]);
    s.galileo = parseGalileoKind(root.get("galileo_messages", nameOf(s.galileo)).asString());
    checkRunSettings(s);
  } catch (const UsageError& e) {
    throw InputError(file.string(), 0, e.what());
  } catch (const Json::Exception& e) {
    throw InputError(file.string(), 0, e.what());
  }
  return s;
}

}  // namespace gnx
