// Checks files and rows of tables before the engine reads them.

#include "deployment/deployed_tables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "gnx/error.h"
#include "gnx/satellite.h"
#include "text/fields.h"
#include "text/json_file.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAnew = "; correct it, or make the deployment anew with 'gnx init --force'";
constexpr const char* kAbsent =
    "does not exist, but the deployment names it; put it there, or make the deployment anew with 'gnx init "
    "--force'";

fs::path fileOf(const Deployment& deployment, const char* key) {
  const fs::path file = deployment.file(key);
  if (!file.empty() && !fs::exists(file)) throw InputError(file.string(), 0, kAbsent);
  return file;
}

/// Goes to the line behind a mark.
void skipTo(TextReader& in, const char* mark) {
  for (std::string_view line; in.next(line);)
    if (line.find(mark) != std::string_view::npos) return;
  in.failAtEnd(std::string("has no line '") + mark + "'" + kAnew);
}

bool isRemark(std::string_view line) {
  const std::string_view text = trim(line);
  return text.empty() || text[0] == '!' || text[0] == '#';
}

constexpr int kUnixEpoch_mjd = 40587;

/// TAI-UTC on a day, s, as far as it is known here.
int taiUtcAt(int mjd) {
  return 19 + leapSecondsAtUtc(GpsTime{(mjd - kUnixEpoch_mjd) * std::int64_t{86400}, 0.0});
}

/// Engines take a wrong second for 400 m of satellite's way.
void checkLeapSeconds(const fs::path& file, const std::optional<GpsTime>& date) {
  constexpr int kFirstKnown_mjd = 44786, kLastKnown_mjd = 57754;  // 1981-07-01, 2017-01-01
  if (file.empty()) return;
  TextReader in(file.string());
  skipTo(in, "+leap sec");
  std::vector<std::string_view> words;
  std::optional<int> before;
  int last = 0;
  std::string_view line;
  while (in.next(line) && line.find("-leap sec") == std::string_view::npos) {
    split(line, words);
    if (words.empty()) continue;
    const auto day = parseInt(words[0]), seconds = parseInt(words.size() > 1 ? words[1] : "");
    if (!day || !seconds)
      in.fail("leap second",
              inQuotes(trim(line)) + " is no day (MJD) and TAI-UTC (s), such as '57754  37'" + kAnew);
    if (before && *day <= *before)
      in.fail("leap second",
              "day " + std::to_string(*day) + " does not follow " + std::to_string(*before) + kAnew);
    if (*day >= kFirstKnown_mjd && *seconds < taiUtcAt(*day))
      in.fail("leap second", "TAI-UTC of day " + std::to_string(*day) + " is " +
                                 std::to_string(taiUtcAt(*day)) + " s, not " + std::to_string(*seconds) +
                                 kAnew);
    before = day;
    last = *seconds;
  }
  if (!before) in.failAtEnd(std::string("holds no leap second") + kAnew);
  const int needed = date ? static_cast<int>(date->seconds / 86400) + kUnixEpoch_mjd : kLastKnown_mjd;
  if (*before < needed || last < taiUtcAt(needed))
    in.failAtEnd("ends at day " + std::to_string(*before) + " with " + std::to_string(last) +
                 " s, but has to reach day " + std::to_string(needed) + kAnew);
}

/// Names of the list.
std::set<std::string> checkSatellites(const fs::path& file) {
  std::set<std::string> names;
  if (file.empty()) return names;
  constexpr std::array kSystems{"GPS", "GLS", "GAL", "BD2", "BD3", "BDS", "CPS", "CMS", "QZS"};
  TextReader in(file.string());
  skipTo(in, "-Satellite used");
  std::vector<std::string_view> words;
  for (std::string_view line; in.next(line) && line.starts_with(' ');) {
    split(line, words);
    if (words.empty()) continue;
    const bool known = words.size() > 1 && std::ranges::count(kSystems, words[1]) > 0;
    if (!known || !parseSat(words[0]))
      in.fail("satellite", inQuotes(trim(line)) +
                               " is no name and system (GPS, GLS, GAL, BD2, BD3, QZS), such as 'G01 GPS'" +
                               kAnew);
    names.emplace(words[0]);
  }
  if (names.empty())
    in.failAtEnd(std::string("lists no satellite; each line begins with a blank, such as ' G01 GPS'") +
                 kAnew);
  return names;
}

void checkVehicles(const fs::path& file, const std::set<std::string>& satellites,
                   const std::optional<GpsTime>& date) {
  if (file.empty()) return;
  TextReader in(file.string());
  skipTo(in, "PART 1");
  std::string text = "PART 1\n";
  std::set<std::string, std::less<>> rows;
  for (std::string_view line; in.next(line);) {
    rows.emplace(column(line, 0, 3));
    text.append(line).append(1, '\n');
  }
  std::set<std::string, std::less<>> flying;
  for (const SatelliteRecord& row : parseSatelliteTable(text))
    if (!date || row.validAt(tableTime(*date))) flying.insert(row.name);
  for (const std::string& name : satellites) {
    if (rows.contains(name) && (flying.empty() || flying.contains(name))) continue;
    const std::string when = rows.contains(name) ? formatTime(*date).substr(0, 10) : "";
    throw InputError(file.string(), 0,
                     "has no row of " + name + (when.empty() ? "" : " at " + when) +
                         ", which the list of satellites names; take it off the list, or make the "
                         "deployment anew with 'gnx init --force" +
                         (when.empty() ? "'" : " --date " + when + "'"));
  }
}

/// Thresholds of the integer search: where a row ends early the engine reads zeros, which pass everything.
void checkRatios(const fs::path& file) {
  constexpr std::size_t kWidth = 6;
  constexpr int kMostRows = 100000, kMostColumns = 1000;
  if (file.empty()) return;
  TextReader in(file.string());
  std::string_view line;
  std::vector<std::string_view> words;
  if (in.next(line)) split(line, words);
  const auto rows = words.size() < 4 ? std::nullopt : parseInt(words[1]);
  const auto columns = words.size() < 4 ? std::nullopt : parseInt(words[3]);
  if (!rows || !columns || *rows < 0 || *columns < 0 || *rows > kMostRows || *columns > kMostColumns)
    in.fail("size", std::string("the first line says rows and columns, such as 'nrow 1246 ndim 66'") + kAnew);
  for (int row = 1; *columns > 0 && row <= *rows; ++row) {
    if (!in.next(line))
      in.failAtEnd("holds " + std::to_string(row - 1) + " of " + std::to_string(*rows) + " rows" + kAnew);
    for (int c = 0; c < *columns; ++c) {
      const auto value = parseReal(column(line, static_cast<std::size_t>(c) * kWidth, kWidth));
      if (!value || *value < 0.0)
        in.fail("threshold " + std::to_string(c + 1),
                std::string("is no number of six characters that is positive") + kAnew);
    }
  }
}

/// An empty table is a choice; the engine takes one that makes no sense for empty.
void checkPole(const fs::path& file) {
  constexpr double kLargest = 1.0;  ///< arcseconds of the pole, seconds of UT1-UTC
  if (file.empty()) return;
  TextReader in(file.string());
  std::vector<std::string_view> words;
  std::optional<double> before;
  bool first = true;
  int rows = 0;
  for (std::string_view line; in.next(line);) {
    if (isRemark(line)) continue;
    split(line, words);
    std::array<double, 4> v{};
    const std::size_t wanted = first ? 2 : v.size();
    for (std::size_t i = 0; i < wanted; ++i) {
      const auto value = i < words.size() ? parseReal(words[i]) : std::nullopt;
      if (!value)
        in.fail(first ? "span" : "pole", std::string(first ? "the first line holds the first and the last MJD"
                                                           : "a row holds MJD, x, y and UT1-UTC") +
                                             kAnew);
      v[i] = *value;
    }
    if (!std::exchange(first, false)) {
      if (before && v[0] <= *before) in.fail("pole", std::string("the dates do not ascend") + kAnew);
      if (std::fabs(v[1]) > kLargest || std::fabs(v[2]) > kLargest || std::fabs(v[3]) > kLargest)
        in.fail("pole",
                std::string("x and y are arcseconds and UT1-UTC seconds, none of them beyond 1") + kAnew);
      before = v[0];
      ++rows;
    }
  }
  if (!first && rows < 2)
    in.failAtEnd(std::string("has to hold two rows, or nothing for a pole at zero") + kAnew);
}

/// The table of names of files: nothing but remarks, or a block of pairs.
void checkNames(const fs::path& file) {
  if (file.empty()) return;
  TextReader in(file.string());
  for (std::string_view line; in.next(line);) {
    if (isRemark(line)) continue;
    if (line.find("mirva_file_name") != std::string_view::npos) return;
    in.fail("name", inQuotes(trim(line)) + " stands before the line 'mirva_file_name'" + kAnew);
  }
}

void checkAntennas(const fs::path& names, const fs::path& patterns) {
  if (!names.empty()) {
    TextReader in(names.string());
    skipTo(in, "MAIN");
  }
  if (patterns.empty()) return;
  TextReader in(patterns.string());
  std::string_view line;
  std::string last;
  for (bool first = true; in.next(line); first = false) {
    if (first && line.find("ANTEX VERSION / SYST") == std::string_view::npos)
      in.fail("ANTEX VERSION / SYST", std::string("is missing: this is no antenna file") + kAnew);
    if (!trim(line).empty()) last = line;
  }
  if (last.find("END OF ANTENNA") == std::string::npos)
    in.failAtEnd(std::string("ends inside an antenna; the file is cut") + kAnew);
}

/// The file of the ambiguity levels is named beside the table of files.
void checkLevels(const Deployment& deployment) {
  const std::string name = plainValue(readJsonFile(deployment.directory() / "ppp.json")["amb"]);
  const fs::path file = deployment.directory() / name;
  if (name.empty()) return;
  if (!fs::exists(file)) throw InputError(file.string(), 0, kAbsent);
  readJsonFile(file);
}

}  // namespace

void checkDeployedTables(const Deployment& deployment, const std::optional<GpsTime>& date) {
  checkLevels(deployment);
  for (const char* key : {"ocload", "ut1t10", "gptgrd_w"}) fileOf(deployment, key);
  checkLeapSeconds(fileOf(deployment, "leapsc"), date);
  const std::set<std::string> satellites = checkSatellites(fileOf(deployment, "satconf"));
  checkVehicles(fileOf(deployment, "satnav"), satellites, date);
  checkAntennas(fileOf(deployment, "antnam"), fileOf(deployment, "antpcv"));
  checkRatios(fileOf(deployment, "rinput"));
  checkPole(fileOf(deployment, "polut1"));
  checkNames(fileOf(deployment, "predefine"));
}

}  // namespace gnx
