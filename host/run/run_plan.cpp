/// \file run_plan.cpp
/// The run plan as JSON and back.

#include "run/run_plan.h"

#include "gnx/error.h"
#include "text/json_file.h"

namespace gnx {

namespace {

Json::Value toJson(const std::vector<std::string>& list) {
  Json::Value array(Json::arrayValue);
  for (const std::string& item : list) array.append(item);
  return array;
}

std::vector<std::string> toStrings(const Json::Value& array) {
  std::vector<std::string> list;
  for (const Json::Value& item : array) list.push_back(item.asString());
  return list;
}

Json::Value toJson(const GpsTime& t) {
  Json::Value array(Json::arrayValue);
  array.append(static_cast<Json::Int64>(t.seconds));
  array.append(t.fraction);
  return array;
}

GpsTime toTime(const Json::Value& array) { return {array[0].asInt64(), array[1].asDouble()}; }

}  // namespace

void writeRunPlan(const std::filesystem::path& file, const RunPlan& plan) {
  Json::Value root(Json::objectValue);
  root["obs"] = toJson(plan.obs);
  root["nav"] = toJson(plan.nav);
  root["sp3"] = toJson(plan.sp3);
  root["clk"] = toJson(plan.clk);
  root["bia"] = toJson(plan.bia);
  root["ssr"] = toJson(plan.ssr);
  root["orbex"] = toJson(plan.orbex);
  root["ionex"] = toJson(plan.ionex);
  root["availability"] = plan.availability;
  root["broadcastOnly"] = plan.broadcastOnly;
  root["wideLaneBiases"] = plan.wideLaneBiases;
  root["resolution"] = plan.resolution;
  root["massCentre"] = plan.massCentre;
  root["mixedProducts"] = plan.mixedProducts;
  root["sparseClocks"] = plan.sparseClocks_s;
  root["mode"] = plan.mode;
  root["interval"] = plan.interval;
  root["patterns"] = plan.patterns;
  root["cutoff"] = plan.cutoffDeg;
  root["position"] = toJson(plan.position);
  root["headerPosition"] = plan.headerPosition;
  root["antenna"] = plan.antenna;
  root["receiver"] = plan.receiver;
  if (plan.antennaDelta) root["antennaDelta"] = toJson(*plan.antennaDelta);
  root["bands"] = Json::Value(Json::objectValue);
  for (const auto& [system, bands] : plan.bands) root["bands"][std::string(1, system)] = bands;
  root["signals"] = Json::Value(Json::objectValue);
  for (const auto& [system, signals] : plan.signals)
    root["signals"][std::string(1, system)] = toJson(signals);
  root["excluded"] = toJson(plan.excluded);
  if (plan.from) root["from"] = toJson(*plan.from);
  if (plan.to) root["to"] = toJson(*plan.to);
  root["diagnostics"] = plan.diagnostics;
  root["storeFiles"] = plan.storeFiles;
  root["details"] = plan.details;
  if (plan.reference) root["reference"] = toJson(*plan.reference);
  root["referenceFile"] = plan.referenceFile;
  writeJsonFile(file, root);
}

RunPlan readRunPlan(const std::filesystem::path& file) {
  const Json::Value root = readJsonFile(file);
  try {
    RunPlan plan;
    plan.obs = toStrings(root["obs"]);
    plan.nav = toStrings(root["nav"]);
    plan.sp3 = toStrings(root["sp3"]);
    plan.clk = toStrings(root["clk"]);
    plan.bia = toStrings(root["bia"]);
    plan.ssr = toStrings(root["ssr"]);
    plan.orbex = toStrings(root["orbex"]);
    plan.ionex = toStrings(root["ionex"]);
    plan.availability = root["availability"].asString();
    plan.broadcastOnly = root["broadcastOnly"].asBool();
    plan.wideLaneBiases = root["wideLaneBiases"].asBool();
    plan.resolution = root["resolution"].asBool();
    plan.massCentre = root.get("massCentre", true).asBool();
    plan.mixedProducts = root["mixedProducts"].asBool();
    plan.sparseClocks_s = root.get("sparseClocks", plan.sparseClocks_s).asDouble();
    plan.mode = root["mode"].asString();
    plan.interval = root["interval"].asDouble();
    plan.patterns = root.get("patterns", true).asBool();
    plan.cutoffDeg = root["cutoff"].asDouble();
    plan.position = toVector(root["position"]);
    plan.headerPosition = root["headerPosition"].asBool();
    plan.antenna = root["antenna"].asString();
    plan.receiver = root["receiver"].asString();
    if (root.isMember("antennaDelta")) plan.antennaDelta = toVector(root["antennaDelta"]);
    for (const std::string& key : root["bands"].getMemberNames()) {
      plan.bands[key.at(0)] = root["bands"][key].asString();
    }
    for (const std::string& key : root["signals"].getMemberNames()) {
      plan.signals[key.at(0)] = toStrings(root["signals"][key]);
    }
    plan.excluded = toStrings(root["excluded"]);
    if (root.isMember("from")) plan.from = toTime(root["from"]);
    if (root.isMember("to")) plan.to = toTime(root["to"]);
    plan.diagnostics = root["diagnostics"].asString();
    plan.storeFiles = root["storeFiles"].asBool();
    plan.details = root["details"].asDouble();
    if (root.isMember("reference")) plan.reference = toVector(root["reference"]);
    plan.referenceFile = root["referenceFile"].asString();
    return plan;
  } catch (const std::exception& e) {
    throw InputError(file.string(), 0, std::string("is not a run plan: ") + e.what());
  }
}

}  // namespace gnx
