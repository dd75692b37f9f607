// Counts as text and back.

#include "engine/account_lines.h"

#include <charconv>
#include <optional>
#include <sstream>

namespace gnx {

namespace {

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

}  // namespace

std::string hostAccountLine(char system, const SystemAccount& counts) {
  std::string line = std::string("account ") + system + " in=" + std::to_string(counts.in) +
                     " unplanned=" + std::to_string(counts.unplanned);
  for (const auto& [reason, count] : counts.reasons) line += " " + reason + "=" + std::to_string(count);
  return line;
}

bool readHostAccountLine(std::string_view line, RunAccount& account) {
  std::istringstream words{std::string(line)};
  std::string tag, system;
  if (!(words >> tag >> system) || tag != "account" || system.size() != 1) return false;
  SystemAccount counts;
  if (!readCounts(words, counts)) return false;
  account[system[0]] = counts;
  return true;
}

}  // namespace gnx
