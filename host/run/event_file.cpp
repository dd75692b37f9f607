// Writes the engine's events line by line, and counts them for the summary.

#include "run/event_file.h"

#include <map>

#include "gnx/error.h"
#include "text/csv_reader.h"

namespace gnx {

EventFile::EventFile(const std::filesystem::path& file) : m_out(file) {
  m_out << "time_gpst,event,details\n" << std::flush;
  if (!m_out) throw InputError(file.string(), 0, "cannot be written; check the folder and the free space");
}

void EventFile::write(const EngineEvent& event) {
  m_out << formatTime(event.time, 3) << ',' << event.name << ',';
  const char* between = "";
  for (const auto& [key, value] : event.values) {
    m_out << between << key << '=' << value;
    between = " ";
  }
  m_out << '\n' << std::flush;
}

std::string eventSummary(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::map<std::string, int, std::less<>> count;
  std::vector<std::string_view> cells;
  for (std::string line; std::getline(in, line);) {
    splitCells(line, cells);
    if (cells.size() == 3) ++count[std::string(cells[1])];
  }
  if (count["fix_lost"] == 0 && count["restart"] == 0) return "";
  std::string text =
      "fix gained " + std::to_string(count["fix_gained"]) + ", lost " + std::to_string(count["fix_lost"]);
  if (count["restart"] > 0) text += "; restarts " + std::to_string(count["restart"]);
  return text;
}

}  // namespace gnx
