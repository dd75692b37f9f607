// Reads back residuals, clocks, integers, settings and solutions of a run.

#include "run/run_files.h"

#include <cmath>
#include <optional>
#include <set>

#include "gnx/error.h"
#include "run/diagnostics.h"
#include "text/csv_reader.h"
#include "text/json_file.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

void takeResidual(const DiagnosticsReader& line, RunFiles& run) {
  const auto elevation = line.real(7), azimuth = line.real(8), value = line.real(9), weight = line.real(11);
  if (!elevation || !azimuth || !value || !weight) return;
  if (line.word(6) != "phase" && line.word(6) != "code") return;
  run.residuals.push_back(
      {line.time(), SatName(line.word(4)), line.word(6) == "phase", *elevation, *azimuth, *value, *weight});
}

void takeClock(const DiagnosticsReader& line, RunFiles& run) {
  const auto value = line.real(6);
  if (!value || line.word(4).size() != 1) return;
  const char system = line.word(4)[0];
  if (line.word(5) == "clock") run.clockSystem = system;
  run.clocks[system].push_back({line.time(), *value});
}

void takeInteger(const DiagnosticsReader& line, RunFiles& run) {
  const auto value = line.real(8);
  if (!value || line.size() != 10) return;
  IntegerSample sample{line.time(),
                       SatName(line.word(4)),
                       SatName(line.word(5)),
                       std::string(line.word(6)),
                       std::string(line.word(7)),
                       *value,
                       std::nullopt};
  sample.integer = line.whole(9);
  run.integers.push_back(std::move(sample));
}

/// The first line of each arc; the engine tells of it at every epoch.
void takeArc(const DiagnosticsReader& line, std::set<std::string>& begun, RunFiles& run) {
  const auto from = line.real(10);
  const auto beginning = line.whole(12);
  if (!from || !beginning || !parseSat(line.word(4))) return;
  std::string name(line.word(4));
  name.append(line.word(5)).append(line.word(10));
  if (!begun.insert(std::move(name)).second) return;
  constexpr double kDay_s = 86400.0;
  const GpsTime epoch = toGpsTime({1858, 11, 17, 0, 0, 0.0});
  run.arcs.push_back({SatName(line.word(4)), epoch + std::round(*from * kDay_s * 2.0) / 2.0, *beginning});
}

void takeRejection(const DiagnosticsReader& line, RunFiles& run) {
  const std::string_view reason = line.word(7);
  if (line.size() < 8 || !parseSat(line.word(4)) || reason == "used" || reason == "lowelev") return;
  run.rejections.push_back({line.time(), SatName(line.word(4)), std::string(reason)});
}

void readDiagnostics(RunFiles& run) {
  DiagnosticsReader line(run.directory / "diagnostics.log");
  std::set<std::string> begun;
  while (line.next()) {
    if (line.time() < run.epochs.front().time || run.epochs.back().time < line.time()) continue;
    if (line.tag() == "RES") takeResidual(line, run);
    else if (line.tag() == "CLK") takeClock(line, run);
    else if (line.tag() == "INT") takeInteger(line, run);
    else if (line.tag() == "ZTD") {
      const auto dry = line.real(4), total = line.real(7);
      if (total) run.zenithDelay.push_back({line.time(), *total});
      if (total && dry) run.zenithDry.push_back({line.time(), *dry});
    } else if (line.tag() == "AMB") takeArc(line, begun, run);
    else if (line.tag() == "OBS") takeRejection(line, run);
    else if (line.tag() == "ION") {
      if (const auto delay = line.real(7); delay && parseSat(line.word(4)))
        run.ionosphere[SatName(line.word(4))].push_back({line.time(), *delay});
    } else if (line.tag() == "FIX") {
      const auto fixed = line.whole(5);
      const auto ratio = line.real(6);
      if (fixed && ratio) run.levels[std::string(line.word(4))].push_back({line.time(), *fixed, *ratio});
    }
  }
}

void readSettings(RunFiles& run) {
  if (!fs::exists(run.directory / "ppp.json")) return;
  const Json::Value root = readJsonFile(run.directory / "ppp.json");
  const auto section = [&](const char* group, std::initializer_list<const char*> keys) {
    const Json::Value& values = root[group];
    if (!values.isObject()) return;
    for (const char* key : keys)
      if (const std::string value = plainValue(values[key]); !value.empty())
        run.settings.emplace_back(key, value);
  };
  section("common", {"freqobs", "freqused", "obscomb", "obsused", "ionmodel", "ztdpri", "ztdmodel", "ambmode",
                     "refpoint", "yawmodel", "noisebyfreq"});
  section("threshold", {"turboedit", "rangelimit", "dia", "dia_batch-limit"});
}

}  // namespace

std::vector<SolutionEpoch> readSolutionCsv(const fs::path& file) {
  CsvReader row(file.string(), {"week", "sow_s", "x_m", "y_m", "z_m"}, "give the directory of a run");
  std::vector<SolutionEpoch> epochs;
  while (row.next()) {
    SolutionEpoch e;
    e.time = row.time();
    e.xyz = {row.real("x_m"), row.real("y_m"), row.real("z_m")};
    e.status = row.whole("status");
    e.rows = row.whole("rows");
    constexpr const char* kSystems[] = {"sat_G", "sat_R", "sat_E", "sat_C", "sat_B", "sat_J"};
    for (std::size_t i = 0; i < e.satellites.size(); ++i) e.satellites[i] = row.whole(kSystems[i]);
    e.pdop = row.real("pdop");
    e.sigma0 = row.real("sigma0");
    e.fixed = row.whole("fixed");
    e.ratio = row.real("ratio");
    e.milliseconds = row.real("milliseconds");
    epochs.push_back(e);
  }
  return epochs;
}

RunFiles readRunFiles(const fs::path& directory) {
  RunFiles run;
  run.directory = directory;
  if (!fs::is_directory(directory))
    throw InputError(directory.string(), 0, "is no directory; give that of a run");
  if (!fs::exists(directory / "run.json"))
    throw InputError(directory.string(), 0,
                     "holds no run.json; give the directory that 'gnx replay --out' named");
  run.plan = readRunPlan(directory / "run.json");
  if (!fs::exists(directory / "solution.csv"))
    throw InputError(directory.string(), 0, "holds no solution.csv: the run did not begin; run it again");
  run.finished = fs::exists(directory / "exit.txt");
  run.epochs = readSolutionCsv(directory / "solution.csv");
  if (run.epochs.empty())
    throw InputError((directory / "solution.csv").string(), 0,
                     std::string("holds no epoch; nothing to report") +
                         (run.finished ? "" : ", the run did not finish, or is still going on"));
  run.account = readAccount(directory / "account.csv");
  run.signals = readTextFile(directory / "signals.txt");
  if (fs::exists(directory / "integers.json")) {
    const Json::Value integers = readJsonFile(directory / "integers.json");
    for (const Json::Value& remark : integers["remarks"]) run.integerRemarks.push_back(remark.asString());
  }
  readSettings(run);
  readDiagnostics(run);
  return run;
}

}  // namespace gnx
