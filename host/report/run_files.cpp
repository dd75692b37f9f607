#include "report/run_files.h"

#include <json/json.h>

#include <algorithm>
#include <fstream>
#include <optional>

#include "formats/csv_reader.h"
#include "formats/fields.h"
#include "formats/input_error.h"
#include "formats/json_file.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kUnixMjd = 40587;

std::string readText(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Words of a line of the diagnostics; damaged lines, the last of a broken run, are passed over.
class DiagnosticsReader {
 public:
  explicit DiagnosticsReader(RunFiles& run) : run_(run) {}

  void line(const std::string& text) {
    split(text, words_);
    if (words_.size() < 5) return;
    const auto mjd = parseInt(words_[1]);
    const auto sod = parseReal(words_[2]);
    if (!mjd || !sod || !(*sod >= 0.0 && *sod <= 86400.0)) return;
    time_ = GpsTime{(*mjd - kUnixMjd) * 86400, 0.0} + *sod;
    if (time_ < run_.epochs.front().time || run_.epochs.back().time < time_) return;
    if (words_[0] == "RES") residual();
    else if (words_[0] == "ZTD") zenith();
    else if (words_[0] == "CLK") clock();
    else if (words_[0] == "FIX") level();
    else if (words_[0] == "INT") integer();
  }

 private:
  std::optional<double> number(std::size_t i) const {
    return i < words_.size() ? parseReal(words_[i]) : std::nullopt;
  }
  std::optional<int> whole(std::size_t i) const {
    return i < words_.size() ? parseInt(words_[i]) : std::nullopt;
  }
  void residual() {
    const auto elevation = number(7), azimuth = number(8), value = number(9), weight = number(11);
    if (!elevation || !azimuth || !value || !weight) return;
    if (words_[6] != "phase" && words_[6] != "code") return;
    run_.residuals.push_back(
        {time_, SatName(words_[4]), words_[6] == "phase", *elevation, *azimuth, *value, *weight});
  }
  void zenith() {
    if (const auto total = number(7)) run_.zenithDelay.push_back({time_, *total});
  }
  void clock() {
    const auto value = number(6);
    if (!value || words_[4].size() != 1) return;
    if (words_[5] == "clock") run_.clockSystem = words_[4][0];
    run_.clocks[words_[4][0]].push_back({time_, *value});
  }
  void level() {
    const auto fixed = whole(5);
    const auto ratio = number(6);
    if (fixed && ratio) run_.levels[std::string(words_[4])].push_back({time_, *fixed, *ratio});
  }

  void integer() {
    const auto value = number(8);
    if (!value || words_.size() != 10) return;
    IntegerSample sample{
        time_,  SatName(words_[4]), SatName(words_[5]), std::string(words_[6]), std::string(words_[7]),
        *value, std::nullopt};
    sample.integer = whole(9);
    run_.integers.push_back(std::move(sample));
  }

  RunFiles& run_;
  std::vector<std::string_view> words_;
  GpsTime time_;
};

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
  run.epochs = readSolutionCsv(directory / "solution.csv");
  if (run.epochs.empty())
    throw InputError((directory / "solution.csv").string(), 0, "holds no epoch; nothing to report");
  run.account = readAccount(directory / "account.csv");
  run.signals = readText(directory / "signals.txt");
  readSettings(run);
  std::ifstream in(directory / "diagnostics.log");
  DiagnosticsReader reader(run);
  for (std::string line; std::getline(in, line);) reader.line(line);
  return run;
}

}  // namespace gnx
