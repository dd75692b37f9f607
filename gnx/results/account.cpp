// Gathers what host and engine say became of each value, and adds it up.

#include "gnx/account.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "gnx/error.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// In the order in which an observation meets them.
constexpr std::pair<const char*, const char*> kReasons[] = {
    {"excluded", "satellite excluded by --exclude"},
    {"unknown", "satellite has no number in the engine"},
    {"notconfigured", "satellite is not in the satellite table"},
    {"noslot", "band is not among the observed frequencies"},
    {"impossible", "not a number, or out of range"},
    {"replaced", "a second signal of the same band"},
    {"partner", "too few signals of the satellite"},
    {"codes", "pseudoranges of the satellite disagree"},
    {"nobias", "no code bias"},
    {"nophasebias", "no phase bias"},
    {"notick", "epoch is none of the interval"},
    {"system", "system is not processed"},
    {"ifpb", "no third-frequency bias"},
    {"unused", "frequency is observed but not used"},
    {"nocorrection", "no correction within 2 min of the epoch"},
    {"noorbit", "no correction of the satellite"},
    {"noclock", "no clock in the correction of the satellite"},
    {"nomessage", "no current broadcast message of the satellite"},
    {"noissue", "no broadcast message of the issue corrected"},
    {"noposition", "receiver position unknown"},
    {"lowelev", "below the elevation mask"},
    {"range", "code residual stands out"},
    {"noroom", "more satellites than the filter holds"},
    {"epoch", "fewer than five satellites in every system"},
    {"norow", "left out by the combination"},
};

/// What helps where a reason takes most of the values.
constexpr std::pair<const char*, const char*> kRemedies[] = {
    {"excluded", "name fewer satellites with --exclude"},
    {"notconfigured", "the satellite table does not cover the date or the systems: 'gnx init' writes one"},
    {"noslot", "choose the receiver's bands with --freqobs and --freqused"},
    {"partner", "choose signals that the receiver has on two frequencies with --signals"},
    {"nobias", "the corrections have no code bias for these signals: choose others with --signals"},
    {"nocorrection",
     "the corrections, or the messages to which they refer, do not cover the time or the systems: check the "
     "dates of the files and --systems"},
    {"noorbit", "the corrections hold other satellites: check the files and --systems"},
    {"nomessage", "give the navigation file of the same day with --nav"},
    {"noissue", "give the navigation file to which the corrections refer with --nav"},
    {"noposition", "give an approximate position with --position"},
    {"lowelev", "the elevation mask is high, or the a-priori position wrong: see --cutoff and --position"},
    {"range",
     "an a-priori position that is off by more than threshold.rangelimit (50 m) does this: leave --position "
     "out, or correct it"},
    {"epoch", "five satellites of one system are the least; see --systems and --cutoff"},
};

std::optional<long> parseCount(std::string_view text) {
  long value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

void setCount(SystemAccount& counts, const std::string& item, long value) {
  if (item == "in") counts.in = value;
  else if (item == "unplanned") counts.unplanned = value;
  else if (item == "used") counts.used = value;
  else counts.reasons[item] = value;
}

/// "name=count name=count" into the counts of a system.
bool readCounts(std::istringstream& words, SystemAccount& counts) {
  for (std::string word; words >> word;) {
    const auto sign = word.find('=');
    const auto value =
        sign == std::string::npos ? std::nullopt : parseCount(std::string_view(word).substr(sign + 1));
    if (!value) return false;
    const std::string name = word.substr(0, sign);
    setCount(counts, name, *value);
  }
  return true;
}

long countOf(const SystemAccount& counts, const std::string& reason) {
  const auto found = counts.reasons.find(reason);
  return found == counts.reasons.end() ? 0 : found->second;
}

}  // namespace

long SystemAccount::unexplained() const {
  return std::accumulate(reasons.begin(), reasons.end(), in - used,
                         [](long rest, const auto& reason) { return rest - reason.second; });
}

void addEngineAccount(const std::filesystem::path& diagnostics, RunAccount& account) {
  std::ifstream in(diagnostics);
  std::map<char, std::string> last;
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with("ACC ")) continue;
    std::istringstream words(line);
    std::string tag, mjd, sod, station, system;
    if (words >> tag >> mjd >> sod >> station >> system && system.size() == 1) last[system[0]] = line;
  }
  for (const auto& [system, line] : last) {
    std::istringstream words(line);
    std::string skipped;
    for (int i = 0; i < 5; ++i) words >> skipped;
    SystemAccount engine;
    if (!readCounts(words, engine)) throw InputError(diagnostics.string(), 0, "line ACC is damaged: " + line);
    SystemAccount& counts = account[system];
    counts.used = engine.used;
    for (const auto& [reason, count] : engine.reasons) counts.reasons[reason] += count;
  }
}

SystemAccount totalOf(const RunAccount& account) {
  SystemAccount total;
  for (const auto& [system, counts] : account) {
    total.in += counts.in;
    total.unplanned += counts.unplanned;
    total.used += counts.used;
    for (const auto& [reason, count] : counts.reasons) total.reasons[reason] += count;
  }
  return total;
}

std::vector<char> systemsOf(const RunAccount& account) {
  std::vector<char> systems;
  for (const char letter : std::string_view("GRECJS?"))
    if (const auto found = account.find(letter); found != account.end() && found->second.in > 0)
      systems.push_back(letter);
  return systems;
}

long unplannedSystems(const RunAccount& account) {
  long count = totalOf(account).unplanned;
  for (const char system : systemsOf(account)) count -= account.at(system).unplanned;
  return count;
}

std::vector<std::string> reasonsOf(const RunAccount& account) {
  std::set<std::string> present;
  for (const auto& [system, counts] : account)
    for (const auto& [reason, count] : counts.reasons)
      if (count != 0) present.insert(reason);
  std::vector<std::string> ordered;
  for (const auto& [keyword, text] : kReasons)
    if (present.erase(keyword) > 0) ordered.emplace_back(keyword);
  ordered.insert(ordered.end(), present.begin(), present.end());
  return ordered;
}

std::string describeReason(const std::string& keyword) {
  for (const auto& [name, text] : kReasons)
    if (keyword == name) return text;
  return keyword;
}

std::string adviceOn(const RunAccount& account) {
  SystemAccount total = totalOf(account);
  total.reasons.erase("notick");  // wanted
  if (total.in == 0)
    return "the receiver gave no value of the planned signals; choose signals with --signals and --freqobs";
  const auto most = std::max_element(total.reasons.begin(), total.reasons.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  if (most == total.reasons.end()) return "";
  std::string text = "most values were left out for one reason: " + describeReason(most->first);
  for (const auto& [keyword, remedy] : kRemedies)
    if (most->first == keyword) text += "; " + std::string(remedy);
  return text;
}

std::string formatAccount(const RunAccount& account) {
  if (account.empty()) return "";
  std::vector<SystemAccount> columns;
  std::string text = printed("%-46s", "observations, code and phase values");
  for (const char system : systemsOf(account)) {
    columns.push_back(account.at(system));
    text += printed("%10c", system);
  }
  columns.push_back(totalOf(account));
  text += "       all\n";
  const auto row = [&](const std::string& title, auto value) {
    text += printed("  %-44s", title.c_str());
    for (const SystemAccount& counts : columns) text += printed("%10ld", value(counts));
    text += '\n';
  };
  row("in", [](const SystemAccount& c) { return c.in; });
  row("used", [](const SystemAccount& c) { return c.used; });
  for (const std::string& keyword : reasonsOf(account))
    row(describeReason(keyword), [&](const SystemAccount& c) { return countOf(c, keyword); });
  if (columns.back().unexplained() != 0)
    row("not explained: the run broke off", [](const SystemAccount& c) { return c.unexplained(); });
  const long others = unplannedSystems(account);
  const SystemAccount* all = &columns.back();
  if (all->unplanned != others)
    row("(besides, on signals outside the plan)",
        [&](const SystemAccount& c) { return c.unplanned - (&c == all ? others : 0); });
  if (others != 0)
    row("(besides, of other systems)", [&](const SystemAccount& c) { return &c == all ? others : 0; });
  return text;
}

void writeAccount(const std::filesystem::path& file, const RunAccount& account) {
  std::ofstream out(file);
  out << "system,item,count\n";
  for (const auto& [system, counts] : account) {
    out << system << ",in," << counts.in << '\n' << system << ",unplanned," << counts.unplanned << '\n';
    out << system << ",used," << counts.used << '\n';
    for (const std::string& keyword : reasonsOf(account))
      out << system << ',' << keyword << ',' << countOf(counts, keyword) << '\n';
  }
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

RunAccount readAccount(const std::filesystem::path& file) {
  RunAccount account;
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  for (long number = 2; std::getline(in, line); ++number) {
    const auto first = line.find(','), second = line.rfind(',');
    const auto count = parseCount(std::string_view(line).substr(second + 1));
    if (first != 1 || second <= first || !count)
      throw InputError(file.string(), number, "is not system,item,count");
    const std::string item = line.substr(2, second - 2);
    setCount(account[line[0]], item, *count);
  }
  return account;
}

}  // namespace gnx
