// A deployment as an object: opens its directory, lends its files, tells what they say.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "GNX_SDK_ext.h"
#include "deployment/deployed.h"
#include "deployment/deployed_antenna.h"
#include "deployment/deployed_integers.h"
#include "deployment/deployed_keys.h"
#include "deployment/deployed_tables.h"
#include "deployment/deployment.h"
#include "gnx/error.h"
#include "text/fields.h"
#include "text/json_file.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

/// What runs leave in their directories.
constexpr const char* kResults[] = {"account.csv", "diagnostics.log", "engine.log",    "events.csv",
                                    "exit.txt",    "ppp_pos",         "report.html",   "run.json",
                                    "signals.txt", "solution.csv",    "solution.nmea", "solution.pos",
                                    "summary.txt", "summary.json",    "integers.json", "deployment.txt",
                                    "inputs.txt",  "station.csv",     "solution.tro"};

bool isResult(const fs::path& file) {
  return file.extension() == ".1" || std::ranges::count(kResults, file.filename().string()) > 0;
}

/// Satellites in the list of a deployment, by the word of their system.
std::map<std::string, int> listedSatellites(const fs::path& list) {
  std::istringstream in(readTextFile(list));
  std::map<std::string, int> count;
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::string name, system;
    if (line.starts_with(' ') && words >> name >> system) ++count[system];
  }
  return count;
}

}  // namespace

Deployment::Deployment(const fs::path& directory) : m_directory(fs::absolute(directory)) {}

Deployment Deployment::make(const fs::path& directory, const DeploymentOptions& options) {
  std::ostringstream notes;
  writeDeployment(directory, options, notes);
  Deployment made = open(directory);
  std::istringstream lines(notes.str());
  for (std::string line; std::getline(lines, line);) made.m_notes.push_back(line);
  return made;
}

Deployment Deployment::open(const fs::path& directory) {
  if (!fs::exists(directory / "ppp.json"))
    throw UsageError(directory.string() + " holds no ppp.json; make a deployment with 'gnx init " +
                     directory.string() + "'");
  Deployment opened(directory);
  if (fs::exists(directory / "gnx.json")) opened.settings = readRunSettings(directory);
  return opened;
}

void Deployment::lend(const fs::path& to) const {
  fs::create_directories(to);
  if (fs::equivalent(m_directory, to)) return;
  for (const auto& entry : fs::directory_iterator(m_directory)) {
    const fs::path target = to / entry.path().filename();
    if (entry.is_directory()) fs::create_directories(target);
    if (!entry.is_regular_file() || isResult(entry.path())) continue;
    fs::remove(target);
    if (entry.path().extension() == ".json") fs::copy_file(entry.path(), target);
    else fs::create_symlink(entry.path(), target);
  }
}

std::vector<std::string> Deployment::check() const {
  std::vector<std::string> sentences = checkDeployedIntegers(m_directory);
  const GNX_EXT::DeploymentCheck trial = GNX_EXT::checkDeployment(m_directory.string());
  if (!trial.usable) {
    sentences.insert(sentences.begin(), trial.fault);
  } else if (std::string sentence = unknownAntenna(*this, settings.antenna); !sentence.empty()) {
    sentences.push_back(std::move(sentence));
  }
  std::ranges::move(unknownKeys(), std::back_inserter(sentences));
  return sentences;
}

void Deployment::checkTables(const std::optional<GpsTime>& date) const { checkDeployedTables(*this, date); }
std::vector<std::string> Deployment::unknownKeys() const { return unknownDeployedKeys(m_directory); }
std::map<char, std::string> Deployment::bands() const { return deployedBands(m_directory); }
bool Deployment::toMassCentre() const { return deployedToMassCentre(m_directory); }
bool Deployment::resolvesIntegers() const { return deployedResolution(m_directory); }
bool Deployment::engineAppliesPatterns() const { return deployedPatterns(m_directory); }
fs::path Deployment::file(const std::string& key) const { return deploymentFile(m_directory, key); }

void Deployment::explain(std::ostream& out) const {
  const Json::Value common = readJsonFile(m_directory / "ppp.json")["common"];
  const auto say = [&](const char* title, const std::string& text) {
    out << "  " << std::left;
    out.width(14);
    out << title << (text.empty() ? "(not said)" : text) << '\n';
  };
  const auto value = [&](const char* key) { return std::string(trim(plainValue(common[key]))); };
  out << m_directory.string() << '\n';
  std::string satellites;
  for (const auto& [system, count] : listedSatellites(m_directory / "satellites.txt"))
    satellites += (satellites.empty() ? "" : ", ") + std::to_string(count) + " " + system;
  say("satellites", satellites);
  say("observed", value("freqobs"));
  say("used", value("freqused"));
  say("combination", value("obscomb"));
  say("ionosphere", value("ionmodel"));
  say("troposphere", value("ztdmodel"));
  say("orbits", toMassCentre() ? "of the centres of mass" : "of the satellites' antennas");
  say("integers", resolvesIntegers() ? "resolved where corrections carry them" : "left unresolved");
  std::ostringstream run;
  run << nameOf(settings.mode) << ", every " << settings.interval_s << " s, above " << settings.cutoff_deg
      << " degrees";
  say("run", run.str());
  say("antenna", settings.antenna.empty() ? "that of the observations" : settings.antenna);
  say("patterns", engineAppliesPatterns() ? "applied by the engine"
                  : settings.patterns     ? "taken off the observations by the host"
                                          : "not applied");
  try {
    checkTables();
  } catch (const InputError& e) {
    out << "  warning: " << e.what() << '\n';
  }
  for (const std::string& sentence : check()) out << "  warning: " << sentence << '\n';
}

}  // namespace gnx
