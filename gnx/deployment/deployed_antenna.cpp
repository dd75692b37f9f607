// Looks a receiver antenna up as the engine does, and finds the name that may have been meant.

#include "deployment/deployed_antenna.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr std::size_t kTypeWidth = 16, kNameWidth = 20;  // type, blank, radome of four
constexpr std::size_t kTypeWeight = 8;  ///< of a letter of the type, in letters of the radome

/// Names of receiver antennas in the antenna file, 20 characters.
std::vector<std::string> receiverAntennas(const Deployment& deployment) {
  std::vector<std::string> names;
  const auto file = deployment.file("antpcv");
  if (!std::filesystem::exists(file)) return names;  // the engine refuses to start
  TextReader in(file.string());
  for (std::string_view line; in.next(line);)
    if (column(line, 60, 16) == "TYPE / SERIAL NO" && trim(column(line, 40, 10)).empty())
      names.emplace_back(column(line, 0, kNameWidth));
  return names;
}

/// The engine takes the first name of its table that holds the words.
std::string nameInTable(const Deployment& deployment, std::string_view words) {
  const auto file = deployment.file("antnam");
  if (!std::filesystem::exists(file)) return {};
  TextReader in(file.string());
  for (std::string_view line; in.next(line);)
    if (line.find("MAIN") != std::string_view::npos &&
        column(line, 6, kNameWidth).find(words) != std::string_view::npos)
      return std::string(column(line, 6, kNameWidth));
  return {};
}

/// Characters to insert, delete or replace.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t k = 0; k < b.size(); ++k)
      diagonal = std::exchange(row[k + 1],
                               std::min({diagonal + (a[i] == b[k] ? 0U : 1U), row[k] + 1, row[k + 1] + 1}));
  }
  return row.back();
}

/// A wrong type is worse than any wrong radome. Names of antennas are in upper case, what users type is not;
/// and they leave out blanks between type and radome.
std::size_t difference(std::string_view given, std::string_view known) {
  std::string wanted(given);
  std::ranges::transform(wanted, wanted.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (const auto gap = wanted.find(' '); gap != std::string::npos && wanted.size() < kTypeWidth + 4)
    if (const std::string radome(trim(wanted.substr(gap))); radome.size() == 4) {
      wanted.resize(gap);
      wanted.resize(kTypeWidth, ' ');
      wanted += radome;
    }
  const auto part = [](std::string_view name, std::size_t from, std::size_t width) {
    return trim(column(name, from, width));
  };
  return kTypeWeight * editDistance(part(wanted, 0, kTypeWidth), part(known, 0, kTypeWidth)) +
         editDistance(part(wanted, kTypeWidth, 4), part(known, kTypeWidth, 4));
}

}  // namespace

std::string unknownAntenna(const Deployment& deployment, const std::string& antenna) {
  const std::string_view words = trim(antenna);
  if (words.empty() || words.starts_with("ANTNONE")) return {};
  const std::vector<std::string> known = receiverAntennas(deployment);
  const std::string name = nameInTable(deployment, words);
  if (!name.empty() &&
      std::ranges::any_of(known, [&](const std::string& k) { return trim(k) == trim(name); }))
    return {};
  const std::string sentence =
      "antenna '" + std::string(words) +
      "' is not known: its offsets and patterns are taken as zero, the height refers "
      "to the phase centre; ";
  if (known.empty())
    return sentence + "the deployment has no receiver antennas, make it with an antenna file";
  const auto nearest =
      std::ranges::min_element(known, {}, [&](const std::string& k) { return difference(words, k); });
  const std::string found(trim(*nearest));
  const std::size_t letters = trim(words.substr(0, kTypeWidth)).size();
  if (2 * difference(words, *nearest) > kTypeWeight * letters)  // half of the type is another one
    return sentence + "no name that is known resembles it; names are such as '" + found + "'";
  return sentence + "the nearest name that is known is '" + found + "'";
}

}  // namespace gnx
