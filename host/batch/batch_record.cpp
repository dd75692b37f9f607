// Records of finished runs, beside their results.

#include "batch/batch_record.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <system_error>

#include "gnx/error.h"
#include "gnx/geodesy.h"
#include "run/run_files.h"
#include "run/solution_files.h"
#include "text/json_file.h"
#include "text/printed.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "batch.json";
constexpr const char* kSigmas[] = {"sigma_east_m", "sigma_north_m", "sigma_up_m"};

/// Size and time of change tell of another content.
std::string factsOf(const fs::path& file) {
  std::error_code none;
  const auto size = fs::file_size(file, none);
  if (none) return file.string() + " is not there";
  const auto time = fs::last_write_time(file, none).time_since_epoch().count();
  return printed("%s %ju %lld", file.c_str(), static_cast<std::uintmax_t>(size),
                 static_cast<long long>(time));
}

Json::Value numberOf(double value, double step) { return std::round(value / step) * step; }

void addPosition(const fs::path& directory, Json::Value& figures) {
  const std::vector<SolutionEpoch> epochs = readSolutionCsv(directory / "solution.csv");
  const auto last = std::find_if(epochs.rbegin(), epochs.rend(), isSolved);
  if (last == epochs.rend()) return;
  const char* const names[] = {"x_m", "y_m", "z_m"};
  for (std::size_t i = 0; i < 3; ++i) figures[names[i]] = last->xyz[i];
  const Geodetic place = toGeodetic(last->xyz);
  constexpr double kDegrees = 57.295779513082320877;
  figures["latitude_deg"] = place.latitude * kDegrees;
  figures["longitude_deg"] = place.longitude * kDegrees;
  figures["height_m"] = numberOf(place.height, 1e-4);
}

}  // namespace

bool BatchRecord::isDone() const { return status == 0 || status == 1; }

std::vector<std::string> basisOf(const BatchRun& run, const BatchRecord* before) {
  std::vector<std::string> basis = {std::string("gnx ") + GNX_VERSION};
  for (const std::string& word : run.words) basis.push_back(word);
  for (const fs::path input : run.inputs) {
    if (!fs::is_directory(input)) {
      basis.push_back(factsOf(input));
      continue;
    }
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(input))
      if (entry.is_regular_file()) files.push_back(entry.path());
    std::ranges::sort(files);
    for (const fs::path& file : files) basis.push_back(factsOf(file));
  }
  if (before != nullptr) {
    std::string all;
    for (const std::string& line : before->basis) all += line + '\n';
    const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(all.data()), all.size());
    basis.push_back(printed("goes on with a run of %08lx", static_cast<unsigned long>(sum)));
  }
  return basis;
}

const std::vector<std::string>& figureColumns() {
  static const std::vector<std::string> columns = {
      "begin",    "end",           "epochs",      "solved",     "fixed_share",  "satellites_mean",
      "sigma0",   "x_m",           "y_m",         "z_m",        "latitude_deg", "longitude_deg",
      "height_m", "convergence_s", "first_fix_s", "rms_east_m", "rms_north_m",  "rms_up_m",
      kSigmas[0], kSigmas[1],      kSigmas[2]};
  return columns;
}

Json::Value figuresOf(const BatchRun& run) {
  Json::Value figures(Json::objectValue);
  try {
    const Json::Value summary = readJsonFile(run.directory / "summary.json");
    const std::pair<const char*, const char*> taken[] = {{"begin", "begin"},
                                                         {"end", "end"},
                                                         {"epochs", "epochs"},
                                                         {"solved", "solved"},
                                                         {"fixed_share", "fixed_share"},
                                                         {"satellites_mean", "satellites_mean"},
                                                         {"sigma0", "sigma0_median"},
                                                         {"convergence_s", "horizontal_convergence_s"},
                                                         {"first_fix_s", "first_fix_s"}};
    for (const auto& [column, key] : taken)
      if (!summary[key].isNull()) figures[column] = summary[key];
    const Json::Value& errors =
        summary["errors"][summary["errors"].isMember("last_part") ? "last_part" : "whole_run"];
    for (const char* axis : {"east", "north", "up"})
      if (errors.isMember(axis))
        figures[printed("rms_%s_m", axis)] = numberOf(errors[axis]["rms_m"].asDouble(), 1e-4);
    addPosition(run.directory, figures);
    const Json::Value& sigmas = summary["position"]["sigma_east_north_up_m"];
    for (Json::ArrayIndex i = 0; i < 3 && sigmas.isArray(); ++i)
      figures[kSigmas[i]] = numberOf(sigmas[i].asDouble(), 1e-4);
  } catch (const std::exception&) {  // a run that failed has left no such files
  }
  return figures;
}

void writeRecord(const fs::path& directory, const BatchRecord& record) {
  Json::Value root(Json::objectValue);
  root["status"] = record.status;
  root["message"] = record.message;
  root["seconds"] = numberOf(record.seconds, 0.01);
  root["figures"] = record.figures;
  for (const std::string& line : record.basis) root["basis"].append(line);
  const fs::path beside = directory / (std::string(kFile) + ".new");
  writeJsonFile(beside, root);
  fs::rename(beside, directory / kFile);
}

std::optional<BatchRecord> readRecord(const fs::path& directory) {
  if (!fs::exists(directory / kFile)) return std::nullopt;
  try {
    const Json::Value root = readJsonFile(directory / kFile);
    BatchRecord record;
    record.status = root["status"].asInt();
    record.message = root["message"].asString();
    record.seconds = root["seconds"].asDouble();
    record.figures = root["figures"];
    for (const Json::Value& line : root["basis"]) record.basis.push_back(line.asString());
    return record;
  } catch (const std::exception&) {  // the run is done again
    return std::nullopt;
  }
}

}  // namespace gnx
