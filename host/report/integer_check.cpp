// Judges the integers of a run: groups their floats into arcs, reads the truth of a simulation and compares.

#include "report/integer_check.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>
#include <sstream>
#include <tuple>

#include "gnx/error.h"
#include "run/statistics.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr double kMostTurns = 1.0;

/// Bands of "L1-L2" or "L1"; nothing for another text.
std::string bandsOf(const std::string& slots) {
  std::string bands;
  for (std::size_t i = 0; i + 1 < slots.size(); i += 3) bands.push_back(slots[i + 1]);
  return bands.size() == 1 || bands.size() == 2 ? bands : "";
}

std::optional<double> trueCycles(const IntegerTruth& truth, const IntegerSample& sample) {
  const std::string bands = bandsOf(sample.slots);
  double sum = 0.0;
  for (std::size_t b = 0; b < bands.size(); ++b)
    for (const bool own : {true, false}) {
      const auto cycles = truth.cycles(own ? sample.satellite : sample.reference, bands[b], sample.time);
      if (!cycles) return std::nullopt;
      sum += (b == 0) == own ? *cycles : -*cycles;
    }
  return bands.empty() ? std::nullopt : std::optional(sum);
}

/// Values of one arc: level, satellite, reference; the arc ends with a gap or a leap.
using Pair = std::tuple<std::string, SatName, SatName>;
constexpr double kLongestGap = 900.0;  // s, after which the engine starts an ambiguity anew
constexpr double kLeap = 0.75;         // cycles

struct OpenArc {
  GpsTime last;
  double value = 0.0, sum = 0.0;
  std::size_t count = 0;

  bool goesOn(const IntegerSample& s) const {
    return count > 0 && s.time - last <= kLongestGap && std::abs(s.value - value) <= kLeap;
  }
  void add(const IntegerSample& s) {
    last = s.time;
    value = s.value;
    sum += s.value;
    ++count;
  }
  void endIn(std::vector<IntegerArc>& arcs) {
    if (count == 0) return;
    const double mean = sum / static_cast<double>(count);
    arcs.push_back({mean - std::round(mean), count});
    *this = {};
  }
};

/// An arc of a satellite: its true cycles tell it from others.
using SatelliteArc = std::pair<SatName, double>;

struct ArcPair {
  SatelliteArc own, reference;
  bool operator<(const ArcPair& o) const { return std::tie(own, reference) < std::tie(o.own, o.reference); }
};

std::optional<ArcPair> arcsOf(const IntegerTruth& truth, const IntegerSample& s) {
  const std::string bands = bandsOf(s.slots);
  if (bands.size() != 1) return std::nullopt;
  const auto own = truth.cycles(s.satellite, bands[0], s.time);
  const auto reference = truth.cycles(s.reference, bands[0], s.time);
  if (!own || !reference) return std::nullopt;
  return ArcPair{{s.satellite, *own}, {s.reference, *reference}};
}

/// The value that comes most often, and how often.
std::pair<double, std::size_t> mostFrequent(const std::map<double, std::size_t>& counts) {
  const auto best = std::max_element(counts.begin(), counts.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  return *best;
}

/// Two arcs of one frequency: by how many turns most of the fixes between them differ from the truth.
struct TurnLink {
  ArcPair arcs;
  double difference = 0.0;
  std::size_t count = 0;  ///< fixes that say so
};

/// Links between all arcs with fixes, those with the most fixes first.
std::vector<TurnLink> turnLinks(const std::vector<IntegerSample>& samples, const IntegerTruth& truth) {
  std::map<ArcPair, std::map<double, std::size_t>> differences;
  for (const IntegerSample& s : samples)
    if (const auto arcs = arcsOf(truth, s); arcs && s.integer)
      ++differences[*arcs][*s.integer - (arcs->own.second - arcs->reference.second)];
  std::vector<TurnLink> links;
  for (const auto& [arcs, counts] : differences) {
    const auto [difference, count] = mostFrequent(counts);
    links.push_back({arcs, difference, count});
  }
  std::stable_sort(links.begin(), links.end(),
                   [](const TurnLink& a, const TurnLink& b) { return a.count > b.count; });
  return links;
}

/// Turns of the wind-up by which the fixes of one frequency differ from the truth, by arc. Fixes only tell
/// differences of turns, so arcs that are linked form a group with one free zero. A link between two groups
/// joins them: the smaller one takes the zero of the larger.
class TurnGroups {
 public:
  void take(const TurnLink& link) {
    const std::size_t own = groupOf(link.arcs.own), reference = groupOf(link.arcs.reference);
    if (own == reference) return;
    const double shift = m_turns.at(link.arcs.reference) + link.difference - m_turns.at(link.arcs.own);
    if (m_groups[own].size() <= m_groups[reference].size()) join(own, reference, shift);
    else join(reference, own, -shift);
  }
  const std::map<SatelliteArc, double>& turns() const { return m_turns; }

 private:
  std::size_t groupOf(const SatelliteArc& arc) {
    const auto [known, isNew] = m_group.try_emplace(arc, m_groups.size());
    if (isNew) {
      m_groups.push_back({arc});
      m_turns[arc] = 0.0;
    }
    return known->second;
  }
  void join(std::size_t from, std::size_t into, double shift) {
    for (const SatelliteArc& arc : m_groups[from]) {
      m_turns[arc] = std::clamp(m_turns[arc] + shift, -kMostTurns, kMostTurns);
      m_group[arc] = into;
      m_groups[into].push_back(arc);
    }
    m_groups[from].clear();
  }

  std::map<SatelliteArc, std::size_t> m_group;
  std::vector<std::vector<SatelliteArc>> m_groups;
  std::map<SatelliteArc, double> m_turns;
};

std::map<SatelliteArc, double> turnsOfArcs(const std::vector<IntegerSample>& samples,
                                           const IntegerTruth& truth) {
  TurnGroups groups;
  for (const TurnLink& link : turnLinks(samples, truth)) groups.take(link);
  return groups.turns();
}

}  // namespace

std::optional<IntegerTruth> IntegerTruth::read(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::string line;
  if (!in || !std::getline(in, line)) return std::nullopt;
  IntegerTruth truth;
  for (long number = 2; std::getline(in, line); ++number) {
    const std::size_t name = line.find(','), list = line.rfind(',');
    const auto sow = parseReal(std::string_view(line).substr(0, name));
    if (name == std::string::npos || list <= name || !sow)
      throw InputError(file.string(), number, "is no row of a simulation's satellites");
    const SatName satellite = line.substr(name + 1, line.find(',', name + 1) - name - 1);
    std::istringstream words(line.substr(list + 1));
    for (std::string word; words >> word;) {
      const std::size_t colon = word.find(':');
      const auto cycles =
          colon == std::string::npos ? std::nullopt : parseReal(std::string_view(word).substr(colon + 1));
      if (!cycles) throw InputError(file.string(), number, "'" + word + "' is no ambiguity");
      auto& from = truth.m_from[{satellite, word[0]}];
      if (from.empty() || from.rbegin()->second != *cycles) from[*sow] = *cycles;
    }
  }
  return truth;
}

std::optional<double> IntegerTruth::cycles(const SatName& satellite, char band, const GpsTime& t) const {
  constexpr double kSame = 1e-3;  // s
  const auto found = m_from.find({satellite, band});
  if (found == m_from.end()) return std::nullopt;
  int week = 0;
  const auto later = found->second.upper_bound(secondsOfWeek(t, &week) + kSame);
  if (later == found->second.begin()) return std::nullopt;
  return std::prev(later)->second;
}

std::size_t arcsNearInteger(const LevelCheck& level) {
  return static_cast<std::size_t>(
      std::count_if(level.arcs.begin(), level.arcs.end(),
                    [](const IntegerArc& a) { return std::abs(a.mean) <= kNearInteger; }));
}

double shareNearInteger(const LevelCheck& level) {
  if (level.fractions.empty()) return 0.0;
  const auto near = std::count_if(level.fractions.begin(), level.fractions.end(),
                                  [](double f) { return std::abs(f) <= kNearInteger; });
  return static_cast<double>(near) / static_cast<double>(level.fractions.size());
}

IntegerCheck checkIntegers(const std::vector<IntegerSample>& samples,
                           const std::optional<IntegerTruth>& truth) {
  IntegerCheck check;
  check.hasTruth = truth.has_value();
  std::map<SatelliteArc, double> turns;
  if (truth) turns = turnsOfArcs(samples, *truth);
  std::map<Pair, OpenArc> open;
  std::set<double> fixedEpochs, wrongEpochs;
  for (const IntegerSample& s : samples) {
    LevelCheck& level = check.levels[s.level];
    ++level.candidates;
    level.fractions.push_back(s.value - std::round(s.value));
    OpenArc& arc = open[{s.level, s.satellite, s.reference}];
    if (!arc.goesOn(s)) arc.endIn(level.arcs);
    arc.add(s);
    if (!s.integer) continue;
    ++level.fixed;
    const double second = s.time - samples.front().time;
    fixedEpochs.insert(second);
    auto cycles = truth ? trueCycles(*truth, s) : std::nullopt;
    if (!cycles) continue;
    if (const auto arcs = arcsOf(*truth, s)) *cycles += turns.at(arcs->own) - turns.at(arcs->reference);
    ++level.checked;
    if (*s.integer == *cycles) continue;
    ++level.wrong;
    wrongEpochs.insert(second);
  }
  for (auto& [pair, arc] : open) arc.endIn(check.levels[std::get<0>(pair)].arcs);
  check.epochs = fixedEpochs.size();
  check.wrongEpochs = wrongEpochs.size();
  return check;
}

const char* levelName(const std::string& level) {
  if (level == "ewl") return "extra-wide-lane";
  return level == "wl" ? "wide-lane" : level == "n1" ? "narrow-lane" : level.c_str();
}

}  // namespace gnx
