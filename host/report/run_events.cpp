// Reads the events of a run and keeps those that a page lists.

#include "report/run_events.h"

#include <map>
#include <string_view>

#include "text/text_reader.h"

namespace gnx {

namespace {

const std::map<std::string_view, const char*> kListed = {
    {"fix_gained", "fix gained"}, {"fix_lost", "fix lost"}, {"restart", "restart"}};

}  // namespace

RunEvents readRunEvents(const std::filesystem::path& file) {
  RunEvents run;
  if (!std::filesystem::exists(file)) return run;
  TextReader reader(file.string());
  std::string_view line;
  reader.next(line);  // names of the columns
  while (reader.next(line) && reader.terminated()) {
    // Details may hold commas: names of files are among them.
    const std::size_t first = line.find(','), second = line.find(',', first + 1);
    if (first == std::string_view::npos || second == std::string_view::npos)
      reader.fail("event", "the line is no \"time,event,details\"; run again or remove the file");
    const std::string_view event = line.substr(first + 1, second - first - 1);
    if (const auto listed = kListed.find(event); listed != kListed.end())
      run.events.push_back(
          {std::string(line.substr(0, first)), listed->second, std::string(line.substr(second + 1))});
    run.satellitesIn += event == "satellite_in" ? 1 : 0;
    run.satellitesOut += event == "satellite_out" ? 1 : 0;
  }
  return run;
}

}  // namespace gnx
