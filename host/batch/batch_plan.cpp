// Counts out the days of rows, finds their files, puts the options of each run together.

#include "batch/batch_plan.h"

#include <glob.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

#include "GNX_SDK_ext.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "run/input_survey.h"
#include "run/named_solutions.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kDay_s = 86400.0;
/// Values of these are files: their words and wildcards are expanded.
constexpr std::array kFileOptions = {
    "obs",   "nav",  "sp3", "clk", "bia",        "ssr",          "orbex",          "ionex",
    "antex", "grid", "blq", "erp", "deployment", "availability", "reference-path", "reference-sinex"};
/// Of these the days beside the run's own are given too: orbits, attitudes and maps are interpolated across
/// midnight, and messages of the evening before serve the first hours.
constexpr std::array kWithNeighbours = {"nav", "sp3", "orbex", "ionex"};
template <class List>
bool isOneOf(const std::string& word, const List& list) {
  return std::ranges::find(list, word) != list.end();
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

/// Files of a wildcard pattern in order of their names.
std::vector<std::string> filesOf(const std::string& pattern) {
  glob_t found{};
  std::vector<std::string> files;
  if (glob(pattern.c_str(), 0, nullptr, &found) == 0)
    files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return files;
}

std::string expanded(const std::string& pattern, const std::string& station, const GpsTime& day) {
  std::string text;
  const std::string wrong = GNX_EXT::expandPattern(pattern, station, {day.seconds, day.fraction}, text);
  if (!wrong.empty()) throw UsageError("'" + pattern + "': " + wrong);
  return text;
}

/// Stands in where a pattern names no day.
GpsTime someDay() { return toGpsTime({2020, 6, 25, 0, 0, 0.0}); }

/// Whether the pattern changes from day to day.
bool namesDay(const std::string& pattern) {
  return expanded(pattern, "SITE", someDay()) != expanded(pattern, "SITE", someDay() + 4321.0 * kDay_s);
}
bool namesStation(const std::string& pattern) { return pattern.find("[SITE]") != std::string::npos; }

/// A station is a folder of the results and a word of file names.
void requireName(const std::string& station, const std::string& place) {
  const bool plain = std::ranges::all_of(
      station, [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c == '-'; });
  if (!plain)
    throw UsageError(place + ": station '" + station + "': names have letters, digits, - and _ alone");
}

GpsTime beginOfDay(const GpsTime& time) { return time + -secondsOfDay(time); }

/// A run in the making.
class RunBuilder {
 public:
  RunBuilder(const BatchRow& row, const ArityOf& arityOf) : m_row(row), m_arityOf(arityOf) {}

  BatchRun build(const std::string& station, const GpsTime& day,
                 const std::vector<std::string>& observations) {
    m_run = {station, day, {}, {}, {}, {}};
    for (const auto& [name, text] : m_row.options) add(name, text, observations);
    return std::move(m_run);
  }

 private:
  void add(const std::string& name, const std::string& text, const std::vector<std::string>& observations) {
    if (m_arityOf(name) == Arity::flag) {
      if (text != "no" && text != "0") m_run.words.push_back("--" + name);
      return;
    }
    std::vector<std::string> values;
    if (name == "obs" && !observations.empty()) values = observations;
    else if (isOneOf(name, kFileOptions)) values = findFiles(name, text);
    else if (m_arityOf(name) == Arity::several) values = wordsOf(text);
    else values = {text};
    if (values.empty()) return;
    m_run.words.push_back("--" + name);
    m_run.words.insert(m_run.words.end(), values.begin(), values.end());
    if (isOneOf(name, kFileOptions)) m_run.inputs.insert(m_run.inputs.end(), values.begin(), values.end());
  }

  std::vector<std::string> findFiles(const std::string& name, const std::string& text) {
    std::vector<std::string> all;
    for (const std::string& pattern : wordsOf(text)) {
      const bool wild = pattern.find_first_of("*?") != std::string::npos;
      const int beside = isOneOf(name, kWithNeighbours) && namesDay(pattern) ? 1 : 0;
      for (int k = -beside; k <= beside; ++k) {
        const std::string word = expanded(pattern, m_run.station, m_run.day + k * kDay_s);
        std::vector<std::string> found = wild || beside > 0 ? filesOf(word) : std::vector{word};
        if (found.empty() && k == 0) m_run.fault = "no file matches " + word + " (--" + name + ")";
        for (std::string& file : found)
          if (std::ranges::count(all, file) == 0) all.push_back(std::move(file));
      }
    }
    return all;
  }

  const BatchRow& m_row;
  const ArityOf& m_arityOf;
  BatchRun m_run;
};

/// Station and day of an observation file.
std::pair<std::string, GpsTime> subjectOf(const std::string& file) {
  requireKind(file, "--obs");
  ObservationReader reader(file);
  ObsEpoch first;
  if (!reader.next(first)) throw InputError(file, 0, "holds no epoch; leave it out");
  return {stationWord(file), beginOfDay(first.time)};
}

/// The runs of a row that tells its days.
void planDays(const BatchRow& row, const ArityOf& arityOf, std::vector<BatchRun>& runs) {
  const std::string& obs = textOf(row.options, "obs");
  if (row.station.empty() && namesStation(obs))
    throw UsageError(row.place + ": obs: [SITE] wants a column 'station'");
  RunBuilder builder(row, arityOf);
  for (const GpsTime& day : parseDays(row.day)) {
    std::string station = row.station;
    if (station.empty())
      for (const std::string& word : wordsOf(obs))
        for (const std::string& file : filesOf(expanded(word, "", day)))
          if (station.empty()) station = stationWord(file);
    runs.push_back(builder.build(station.empty() ? "UNKNOWN" : station, day, {}));
  }
}

/// The runs of a row whose observations tell their days.
void planFiles(const BatchRow& row, const ArityOf& arityOf, std::vector<BatchRun>& runs) {
  std::map<std::pair<std::string, GpsTime>, std::vector<std::string>> files;
  for (const std::string& pattern : wordsOf(textOf(row.options, "obs"))) {
    if (namesDay(pattern)) throw UsageError(row.place + ": obs: '" + pattern + "' wants a column 'day'");
    if (row.station.empty() && namesStation(pattern))
      throw UsageError(row.place + ": obs: [SITE] wants a column 'station'");
    const std::vector<std::string> found = filesOf(expanded(pattern, row.station, someDay()));
    if (found.empty())
      throw InputError(
          pattern, 0,
          "matches no file (" + row.place + "); check the name, and the directory from which it starts");
    for (const std::string& file : found) {
      auto subject = subjectOf(file);
      if (!row.station.empty()) subject.first = row.station;
      files[subject].push_back(file);
    }
  }
  RunBuilder builder(row, arityOf);
  for (const auto& [subject, observations] : files)
    runs.push_back(builder.build(subject.first, subject.second, observations));
}

}  // namespace

std::vector<BatchRun> planBatch(const std::vector<BatchRow>& rows, const BatchOptions& common,
                                const ArityOf& arityOf, const fs::path& directory) {
  std::vector<BatchRun> runs;
  for (BatchRow row : rows) {
    for (const auto& [name, text] : common)
      if (textOf(row.options, name).empty()) row.options.emplace_back(name, text);
    requireName(row.station, row.place);
    if (row.day.empty()) planFiles(row, arityOf, runs);
    else planDays(row, arityOf, runs);
  }
  std::ranges::stable_sort(runs, {}, [](const BatchRun& r) { return std::pair(r.station, r.day); });
  std::set<fs::path> taken;
  for (BatchRun& run : runs) {
    run.directory = directory / expanded("[SITE]/[YYYY][DDD]", run.station, run.day);
    if (!taken.insert(run.directory).second)
      throw UsageError("station " + run.station + " has two runs on " + formatTime(run.day).substr(0, 10) +
                       "; give the stations different names");
  }
  return runs;
}

}  // namespace gnx
