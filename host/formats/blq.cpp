#include "formats/blq.h"

#include "formats/fields.h"
#include "formats/text_reader.h"

namespace gnx {

namespace {

constexpr int kRows = 6;
constexpr std::size_t kConstituents = 11;

void readPlace(std::string_view comment, BlqSite& site) {
  const std::size_t at = comment.find("lon/lat:");
  if (at == std::string_view::npos) return;
  std::vector<std::string_view> words;
  split(comment.substr(at + 8), words);
  if (words.size() < 2) return;
  site.longitude = parseReal(words[0]);
  site.latitude = parseReal(words[1]);
}

}  // namespace

std::vector<BlqSite> readBlqIndex(const std::string& path) {
  TextReader reader(path);
  std::vector<BlqSite> sites;
  std::vector<std::string_view> words;
  std::string_view line;
  int rows = kRows;
  while (reader.next(line)) {
    if (trim(line).empty()) continue;
    if (line.substr(0, 2) == "$$") {
      if (!sites.empty() && rows == 0) readPlace(line, sites.back());
      continue;
    }
    if (rows == kRows) {
      // Site names stand behind two blanks and may hold blanks themselves.
      const std::string_view name = trim(line);
      split(line, words);
      if (name.size() > 24 || words.size() >= kConstituents) {
        reader.fail("site", "name of a site is expected; the file is damaged here");
      }
      sites.push_back({std::string(name), std::nullopt, std::nullopt, reader.line()});
      rows = 0;
      continue;
    }
    split(line, words);
    bool numbers = words.size() == kConstituents;
    for (const std::string_view word : words) numbers = numbers && parseReal(word).has_value();
    if (!numbers) {
      reader.fail(sites.back().name, "row " + std::to_string(rows + 1) +
                                         " does not hold eleven numbers; the file is damaged here");
    }
    ++rows;
  }
  if (rows != kRows)
    reader.failAtEnd(sites.back().name + ": rows are missing; the file is truncated, fetch it again");
  if (sites.empty()) reader.failAtEnd("holds no site; this is not an ocean loading (BLQ) file");
  return sites;
}

}  // namespace gnx
