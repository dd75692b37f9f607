// Finds the engine's complaint among the last lines that it printed.

#include "engine/last_words.h"

#include <algorithm>
#include <deque>
#include <fstream>

namespace gnx {

namespace {

constexpr std::size_t kKeptLines = 8;

/// A solution line begins with a date and holds nothing but numbers and the station's name.
bool isSolutionLine(const std::string& line) {
  int year = 0, month = 0, day = 0;
  return line.size() > 150 && std::sscanf(line.c_str(), "%4d%3d%3d", &year, &month, &day) == 3 && year > 1979;
}

}  // namespace

std::string lastWords(const std::filesystem::path& log) {
  std::ifstream in(log);
  std::deque<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (isSolutionLine(line)) continue;
    lines.push_back(line);
    if (lines.size() > kKeptLines) lines.pop_front();
  }
  std::string reason;
  for (std::string line : lines) {
    if (line.find("exit by code") !=
        std::string::npos)  // on a line of its own, or behind a reason without end
      line.erase(std::min(line.size(), line.rfind('[', line.rfind("LOCAL]-"))));
    const auto at = line.find("LOCAL]-");
    if (at != std::string::npos || line.find("ERROR") != std::string::npos)
      reason = at == std::string::npos ? line : line.substr(at + 7);
  }
  return reason.empty() ? "it left no message; see engine.log" : reason;
}

}  // namespace gnx
