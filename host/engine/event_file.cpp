// Writes the engine's events line by line, and counts them for the summary.

#include "engine/event_file.h"

#include "GNX_SDK_ext.h"
#include "gnx/error.h"
#include "gnx/records.h"
#include "text/csv_reader.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr std::int64_t kUnixMjd = 40587;

/// "2020-06-25 00:00:30.000" of the values "mjd" and "sod".
std::string timeOf(const std::map<std::string, std::string>& values) {
  const auto mjd = parseInt(values.at("mjd"));
  const auto sod = parseReal(values.at("sod"));
  return formatTime(GpsTime{(mjd.value_or(0) - kUnixMjd) * 86400, 0.0} + sod.value_or(0.0), 3);
}

}  // namespace

EventFile::EventFile(const std::filesystem::path& file) : m_out(file), m_listener(0) {
  m_out << "time_gpst,event,details\n" << std::flush;
  if (!m_out) throw InputError(file.string(), 0, "cannot be written; check the folder and the free space");
  m_listener = GNX_EXT::addListener(
      "", [this](const std::string& event, const auto& values) { write(event, values); });
}

EventFile::~EventFile() { GNX_EXT::removeListener(m_listener); }

void EventFile::write(const std::string& event, const std::map<std::string, std::string>& values) {
  std::string details;
  for (const auto& [key, value] : values)
    if (key != "mjd" && key != "sod") details += (details.empty() ? "" : " ") + key + "=" + value;
  m_out << timeOf(values) << ',' << event << ',' << details << '\n' << std::flush;
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
