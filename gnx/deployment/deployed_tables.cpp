// Checks rows of tables before the engine reads them.

#include "deployment/deployed_tables.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "gnx/error.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kAnew = "; correct it, or make the deployment anew with 'gnx init --force'";

fs::path fileOf(const Deployment& deployment, const char* key) {
  const fs::path file = deployment.file(key);
  if (!file.empty() && !fs::exists(file))
    throw InputError(file.string(), 0, std::string("does not exist, but the deployment names it") + kAnew);
  return file;
}

/// Goes to the line behind a mark.
void skipTo(TextReader& in, const char* mark) {
  for (std::string_view line; in.next(line);)
    if (line.find(mark) != std::string_view::npos) return;
  in.failAtEnd(std::string("has no line '") + mark + "'" + kAnew);
}

void checkLeapSeconds(const fs::path& file) {
  if (file.empty()) return;
  TextReader in(file.string());
  skipTo(in, "+leap sec");
  std::vector<std::string_view> words;
  std::optional<int> before;
  std::string_view line;
  while (in.next(line) && line.find("-leap sec") == std::string_view::npos) {
    split(line, words);
    if (words.empty()) continue;
    const auto day = parseInt(words[0]), seconds = parseInt(words.size() > 1 ? words[1] : "");
    if (!day || !seconds)
      in.fail("leap second", "'" + std::string(trim(line)) +
                                 "' is no day (MJD) and TAI-UTC (s), such as '57754  37'" + kAnew);
    if (before && *day <= *before)
      in.fail("leap second",
              "day " + std::to_string(*day) + " does not follow " + std::to_string(*before) + kAnew);
    before = day;
  }
  if (!before) in.failAtEnd(std::string("holds no leap second") + kAnew);
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
      in.fail("satellite", "'" + std::string(trim(line)) +
                               "' is no name and system (GPS, GLS, GAL, BD2, BD3, QZS), such as 'G01 GPS'" +
                               kAnew);
    names.emplace(words[0]);
  }
  if (names.empty())
    in.failAtEnd(std::string("lists no satellite; each line begins with a blank, such as ' G01 GPS'") +
                 kAnew);
  return names;
}

void checkVehicles(const fs::path& file, const std::set<std::string>& satellites) {
  if (file.empty()) return;
  TextReader in(file.string());
  skipTo(in, "PART 1");
  std::set<std::string, std::less<>> rows;
  for (std::string_view line; in.next(line);) rows.emplace(column(line, 0, 3));
  for (const std::string& name : satellites)
    if (!rows.contains(name))
      throw InputError(file.string(), 0,
                       "has no row of " + name +
                           ", which the list of satellites names; take it off the list, or "
                           "make the deployment anew with 'gnx init --force'");
}

}  // namespace

void checkDeployedTables(const Deployment& deployment) {
  checkLeapSeconds(fileOf(deployment, "leapsc"));
  const std::set<std::string> satellites = checkSatellites(fileOf(deployment, "satconf"));
  checkVehicles(fileOf(deployment, "satnav"), satellites);
}

}  // namespace gnx
