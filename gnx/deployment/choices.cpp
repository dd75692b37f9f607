// Checks the systems, frequencies and combination that a deployment is asked for.

#include "deployment/choices.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "gnx/error.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

struct SystemEntry {
  char letter;
  const char* listWord;
  const char* title;
  std::vector<Carrier> carriers;
  std::vector<std::string> defaults;
};

/// A system of files of observations and antennas with its words and bands.
std::vector<Carrier> carriersOf(char system, const std::vector<std::pair<const char*, char>>& bands) {
  std::vector<Carrier> carriers;
  for (const auto& [word, band] : bands)
    carriers.push_back({word, {'L', band}, {system, '0', band}, carrierFrequency(system, band).value()});
  return carriers;
}

const std::vector<SystemEntry>& systemTable() {
  static const std::vector<std::pair<const char*, char>> kBeiDou2 = {{"B1", '2'}, {"B3", '6'}, {"B2b", '7'}};
  static const std::vector<std::pair<const char*, char>> kBeiDou3 = {{"B1c", '1'}, {"B1", '2'},  {"B2a", '5'},
                                                                     {"B3", '6'},  {"B2b", '7'}, {"B2", '8'}};
  static const std::vector<std::pair<const char*, char>> kGalileo = {
      {"E1", '1'}, {"E5a", '5'}, {"E6", '6'}, {"E5b", '7'}, {"E5", '8'}};
  static const std::vector<std::pair<const char*, char>> kQzss = {
      {"L1", '1'}, {"L2", '2'}, {"L5", '5'}, {"LEX", '6'}};
  static const std::vector<SystemEntry> table{
      {'G', "GPS", "GPS", carriersOf('G', {{"L1", '1'}, {"L2", '2'}, {"L5", '5'}}), {"L1", "L2"}},
      {'E', "GAL", "Galileo", carriersOf('E', kGalileo), {"E1", "E5a"}},
      {'C', "BD3", "BeiDou-3", carriersOf('C', kBeiDou3), {"B1", "B3"}},
      {'B', "BD2", "BeiDou-2", carriersOf('C', kBeiDou2), {"B1", "B3"}},
      {'J', "QZS", "QZSS", carriersOf('J', kQzss), {"L1", "L2"}},
      {'R', "GLS", "GLONASS", carriersOf('R', {{"G1", '1'}, {"G2", '2'}}), {"G1", "G2"}}};
  return table;
}

const SystemEntry& systemOf(char letter) {
  for (const SystemEntry& s : systemTable()) {
    if (s.letter == letter) return s;
  }
  throw UsageError(
      std::string("system '") + letter +
      "' is unknown: the letters are G (GPS), R (GLONASS), E (Galileo), C (BeiDou-3), B (BeiDou-2), "
      "J (QZSS)");
}

const SystemEntry& systemOfListWord(const std::string& word) {
  for (const SystemEntry& s : systemTable()) {
    if (word == s.listWord || (word == "BDS" && s.letter == 'C')) return s;
  }
  throw UsageError("'" + word + "' is no system of a frequency list: GPS, GLS, GAL, BD2, BD3 (or BDS), QZS");
}

std::string carrierWords(const SystemEntry& s) {
  std::string text;
  for (const Carrier& c : s.carriers) text += (text.empty() ? "" : ", ") + c.word;
  return text;
}

/// The system's own word, or the engine's name of it.
const Carrier& carrierOf(const SystemEntry& s, const std::string& word) {
  if (const auto own = std::ranges::find(s.carriers, word, &Carrier::word); own != s.carriers.end())
    return *own;
  if (s.letter == 'B' && word == "B2") {
    throw UsageError("BeiDou-2 sends B2I on the frequency that is written B2b here: write B2b instead of B2");
  }
  if (const auto same = std::ranges::find(s.carriers, word, &Carrier::name); same != s.carriers.end())
    return *same;
  throw UsageError("frequency " + word + " does not belong to " + s.title + ", which has " + carrierWords(s));
}

/// "GPS:L1_L2 GAL:E1_E5a" by system letter.
std::map<char, std::vector<Carrier>> parseList(const std::string& text, const std::string& option,
                                               const std::string& systems) {
  std::map<char, std::vector<Carrier>> lists;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const auto colon = word.find(':');
    if (colon == std::string::npos) {
      throw UsageError(option + " takes words such as GPS:L1_L2, not '" + word + "'");
    }
    const SystemEntry& s = systemOfListWord(word.substr(0, colon));
    if (systems.find(s.letter) == std::string::npos) {
      throw UsageError(option + " names " + s.title + ", but the systems are " + systems + ": add " +
                       s.letter + " or leave the word out");
    }
    if (lists.contains(s.letter)) throw UsageError(option + " names " + s.title + " twice");
    std::vector<Carrier>& list = lists[s.letter];
    std::istringstream names(word.substr(colon + 1));
    for (std::string name; std::getline(names, name, '_');) {
      const Carrier& carrier = carrierOf(s, name);
      if (std::ranges::any_of(list, [&](const Carrier& c) { return c.name == carrier.name; })) {
        throw UsageError(option + " names " + carrier.word + " of " + s.title + " twice");
      }
      list.push_back(carrier);
    }
    if (list.empty()) throw UsageError(option + " names no frequency of " + s.title);
  }
  return lists;
}

std::vector<Carrier> defaultCarriers(const SystemEntry& s) {
  std::vector<Carrier> carriers;
  for (const std::string& word : s.defaults) carriers.push_back(carrierOf(s, word));
  return carriers;
}

void checkSystems(const std::string& systems) {
  if (systems.empty()) throw UsageError("no system is chosen: give letters such as GE");
  for (std::size_t i = 0; i < systems.size(); ++i) {
    const SystemEntry& s = systemOf(systems[i]);
    if (systems.find(systems[i]) != i)
      throw UsageError(std::string(s.title) + " is named twice in the systems");
  }
  if (systems == "R")
    throw UsageError("GLONASS alone gives no solution: the engine never uses it, add G, E, C, B or J");
}

void checkRun(const DeploymentOptions& o) {
  if (o.combination != "RAW" && o.combination != "IF" && o.combination != "AFIF" && o.combination != "SF") {
    throw UsageError("combination '" + o.combination + "' is unknown: RAW, IF, AFIF or SF");
  }
  if (o.ionosphereSigma_m && o.combination.ends_with("IF"))
    throw UsageError("--ionosphere-sigma has no effect with " + o.combination +
                     ", which has no ionosphere; leave it out, or take RAW");
  if (o.refpoint != "CoM_ITRF" && o.refpoint != "APC_ITRF") {
    throw UsageError("reference point '" + o.refpoint + "' is unknown: CoM_ITRF or APC_ITRF");
  }
  checkRunSettings(o.run);
  if (o.traceLevel < 0 || o.traceLevel > 4) throw UsageError("the trace level must lie between 0 and 4");
}

void checkCombination(const SystemChoice& s, const std::string& combination) {
  if (combination == "SF") {
    if (s.used.size() != 1) {
      throw UsageError("SF uses one frequency, but " + s.title + " has " + std::to_string(s.used.size()) +
                       ": name one in freqused, or choose RAW");
    }
  } else if (s.used.size() < 2) {
    throw UsageError(combination + " needs two used frequencies of each system, but " + s.title +
                     " has only " + s.used.front().word + ": add one, leave the system out, or choose SF");
  } else if (combination == "AFIF" && s.used.size() < 3) {
    throw UsageError("AFIF needs three used frequencies of each system, but " + s.title +
                     " has two: add one, leave the system out, or choose IF");
  }
}

}  // namespace

void checkRunSettings(const RunSettings& run) {
  if (!(run.interval_s > 0.0 && run.interval_s <= 86400.0)) {
    throw UsageError("the interval must lie between 0 and 86400 s");
  }
  if (!(run.cutoff_deg >= 0.0 && run.cutoff_deg < 90.0)) {
    throw UsageError("the elevation mask must lie between 0 and 90 degrees");
  }
  if (run.antenna.size() > 20) {
    throw UsageError("antenna '" + run.antenna + "' is longer than 20 characters, the type and the radome");
  }
  for (double x : run.position_m) {
    if (!std::isfinite(x)) throw UsageError("the a-priori position is not finite");
  }
}

std::vector<SystemChoice> checkChoices(const DeploymentOptions& options) {
  checkSystems(options.systems);
  checkRun(options);
  auto observed = parseList(options.freqobs, "freqobs", options.systems);
  auto used = parseList(options.freqused, "freqused", options.systems);

  std::vector<SystemChoice> choices;
  for (const SystemEntry& s : systemTable()) {
    if (options.systems.find(s.letter) == std::string::npos) continue;
    SystemChoice choice{s.letter, s.listWord, s.title, {}, {}};
    const bool both = !observed.contains(s.letter) && used.contains(s.letter);
    choice.observed = observed.contains(s.letter) ? observed[s.letter]
                      : both                      ? used[s.letter]
                                                  : defaultCarriers(s);
    if (choice.observed.size() > 3) {
      throw UsageError("at most three frequencies of a system may be observed, " + choice.title + " has " +
                       std::to_string(choice.observed.size()));
    }
    choice.used = used.contains(s.letter) ? used[s.letter] : choice.observed;
    if (!used.contains(s.letter) && options.combination == "SF") choice.used.resize(1);
    for (const Carrier& c : choice.used) {
      if (std::ranges::none_of(choice.observed, [&](const Carrier& o) { return o.name == c.name; })) {
        throw UsageError(c.word + " of " + choice.title + " is used but not observed: add it to freqobs");
      }
    }
    checkCombination(choice, options.combination);
    choices.push_back(std::move(choice));
  }
  return choices;
}

std::string frequencyList(const std::vector<SystemChoice>& systems, CarrierSet set, std::size_t most) {
  std::string text;
  for (const SystemChoice& s : systems) {
    const std::vector<Carrier>& carriers = set == CarrierSet::observed ? s.observed : s.used;
    text += (text.empty() ? "" : " ") + s.listWord + ":";
    for (std::size_t i = 0; i < std::min(most, carriers.size()); ++i)
      text += (i > 0 ? "_" : "") + carriers[i].word;
  }
  return text;
}

}  // namespace gnx
