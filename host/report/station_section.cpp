// What the header of the observations, the antenna file and the run's summary say of the station.

#include "report/station_section.h"

#include <fstream>

#include "text/json_file.h"
#include "text/printed.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

using Facts = std::vector<std::pair<std::string, std::string>>;

/// Whether the run's antenna file has the receiver's antenna, "" when there is no such file.
std::string antennaNote(const RunFiles& run) {
  constexpr std::size_t kType = 20;
  std::ifstream file(run.directory / "antenna.atx");
  std::string wanted = run.plan.antenna;
  wanted.resize(kType, ' ');
  bool any = false;
  for (std::string line; std::getline(file, line); any = true)
    if (line.starts_with(wanted) && line.find("TYPE / SERIAL NO") != std::string::npos)
      return " (found in the antenna file)";
  return any ? " (not in the antenna file: offsets and patterns are zero)" : "";
}

std::string text(const Json::Value& value) { return value.isString() ? value.asString() : ""; }

/// Numbers of a list, in a form for each.
std::string listOf(const Json::Value& list, const char* format, double scale) {
  std::string words;
  if (!list.isArray()) return words;
  for (const Json::Value& value : list)
    if (value.isNumeric()) words += (words.empty() ? "" : "  ") + printed(format, scale * value.asDouble());
  return words;
}

/// The final coordinate of a station that stands still.
void addPosition(const Json::Value& position, Facts& facts) {
  const auto add = [&](const char* name, const std::string& value) {
    if (!value.empty()) facts.emplace_back(name, value);
  };
  add("final coordinate X Y Z, m", listOf(position["xyz_m"], "%.4f", 1.0));
  const std::string frame = text(position["frame"]), time = text(position["time"]);
  add("its point, frame and epoch",
      text(position["point"]) + (frame.empty() ? "" : ", " + frame) + (time.empty() ? "" : ", " + time));
  add("its sigmas east, north, up, mm", listOf(position["sigma_east_north_up_m"], "%.1f", 1e3));
  const Json::Value& ellipse = position["ellipse_95"];
  if (ellipse.isObject() && ellipse["major_m"].isNumeric() && ellipse["minor_m"].isNumeric() &&
      ellipse["azimuth_deg"].isNumeric())
    add("its ellipse of 95 %",
        printed("%.1f mm by %.1f mm, the longer axis at azimuth %.0f°", 1e3 * ellipse["major_m"].asDouble(),
                1e3 * ellipse["minor_m"].asDouble(), ellipse["azimuth_deg"].asDouble()));
}

}  // namespace

std::string stationName(const RunFiles& run) {
  constexpr std::size_t kShortName = 4;  // of a file such as "zegv0010.21o"
  const fs::path summary = run.directory / "summary.json";
  if (fs::exists(summary)) {
    const Json::Value root = readJsonFile(summary);
    if (root["position"].isObject() && !text(root["position"]["station"]).empty())
      return text(root["position"]["station"]);
  }
  if (run.plan.obs.empty() || run.plan.obs.front() == "-") return run.directory.filename().string();
  const std::string file = fs::path(run.plan.obs.front()).filename().string();
  if (const auto part = file.find('_'); part != std::string::npos) return file.substr(0, part);
  const std::string stem = file.substr(0, file.find('.'));
  const bool isShort =
      stem.size() == 2 * kShortName && stem.find_first_of("0123456789", kShortName) == kShortName;
  return isShort ? stem.substr(0, kShortName) : stem;
}

std::vector<std::pair<std::string, std::string>> stationFacts(const RunFiles& run) {
  Facts facts;
  if (!run.plan.receiver.empty()) facts.emplace_back("receiver", run.plan.receiver);
  if (!run.plan.antenna.empty()) facts.emplace_back("antenna", run.plan.antenna + antennaNote(run));
  const fs::path summary = run.directory / "summary.json";
  if (!fs::exists(summary)) return facts;
  const Json::Value root = readJsonFile(summary);
  if (root.isObject() && root["position"].isObject()) addPosition(root["position"], facts);
  return facts;
}

}  // namespace gnx
