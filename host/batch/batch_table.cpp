// Reads the table of a batch and its common options; whatever is no option of a run is refused at once.

#include "batch/batch_table.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "gnx/error.h"
#include "text/csv_reader.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kDay_s = 86400.0;
/// The batch itself gives these.
constexpr std::array kOwnOptions = {"out", "quiet", "resume-from", "keep-state", "help"};

template <class List>
bool isOneOf(const std::string& word, const List& list) {
  return std::ranges::find(list, word) != list.end();
}

void requireOption(const std::string& name, const ArityOf& arityOf) {
  if (isOneOf(name, kOwnOptions))
    throw UsageError("'" + name + "' is chosen by the batch itself; leave it out");
  if (arityOf(name) == Arity::unknown) throw UsageError("'" + name + "' is no option of 'gnx replay'");
}

/// What is wrong with a column or a cell, with its line.
template <class Check>
void told(const TextReader& in, const char* field, Check&& check) {
  try {
    check();
  } catch (const UsageError& e) {
    in.fail(field, e.what());
  }
}

GpsTime parseDay(const std::string& text) {
  Calendar c;
  int dayOfYear = 0, used = 0;
  const int size = static_cast<int>(text.size());
  if (std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &c.year, &c.month, &c.day, &used) == 3 && used == size &&
      c.year >= 1980 && c.year < 2100 && c.month >= 1 && c.month <= 12 && c.day >= 1 && c.day <= 31)
    return toGpsTime(c);
  if (std::sscanf(text.c_str(), "%4d-%3d%n", &c.year, &dayOfYear, &used) == 2 && used == size &&
      c.year >= 1980 && c.year < 2100 && dayOfYear >= 1 && dayOfYear <= 366)
    return toGpsTime({c.year, 1, 1, 0, 0, 0.0}) + (dayOfYear - 1) * kDay_s;
  throw UsageError("'" + text + "' is no day such as 2020-06-25 or 2020-177");
}

}  // namespace

const std::string& textOf(const BatchOptions& options, const std::string& name) {
  static const std::string none;
  const auto found = std::ranges::find(options, name, &std::pair<std::string, std::string>::first);
  return found == options.end() ? none : found->second;
}

std::vector<GpsTime> parseDays(const std::string& text) {
  const auto dots = text.find("..");
  const GpsTime first = parseDay(text.substr(0, dots));
  const GpsTime last = dots == std::string::npos ? first : parseDay(text.substr(dots + 2));
  if (last < first) throw UsageError("'" + text + "' ends before it begins; exchange the days");
  constexpr double kMost_days = 36600.0;
  if (last - first > kMost_days * kDay_s) throw UsageError("'" + text + "' is more than a century");
  std::vector<GpsTime> days;
  for (GpsTime day = first; !(last < day); day = day + kDay_s) days.push_back(day);
  return days;
}

std::vector<BatchRow> readBatchTable(const std::string& path, const ArityOf& arityOf) {
  TextReader in(path);
  std::string_view line;
  std::vector<std::string_view> cells;
  if (!in.next(line)) throw InputError(path, 0, "is empty; its first line names the columns, obs among them");
  splitCells(line, cells);
  const std::vector<std::string> columns(cells.begin(), cells.end());
  for (const std::string& column : columns) {
    if (std::ranges::count(columns, column) > 1) in.fail(column, "the column is there twice");
    if (column == "station" || column == "day") continue;
    told(in, "column", [&] { requireOption(column, arityOf); });
  }
  if (!isOneOf("obs", columns)) in.fail("column obs", "is missing; it names the observation files");
  std::vector<BatchRow> rows;
  while (in.next(line)) {
    if (line.find_first_not_of(" \t,") == std::string_view::npos || line.starts_with('#')) continue;
    splitCells(line, cells);
    if (cells.size() != columns.size())
      in.fail("row",
              printed("has %zu cells, the first line names %zu columns", cells.size(), columns.size()));
    BatchRow row{path + ":" + std::to_string(in.line()), "", "", {}};
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i] == "station") row.station = cells[i];
      else if (columns[i] == "day") row.day = cells[i];
      else if (!cells[i].empty()) row.options.emplace_back(columns[i], cells[i]);
    }
    if (!row.day.empty()) told(in, "day", [&] { parseDays(row.day); });
    if (textOf(row.options, "obs").empty()) in.fail("obs", "names no observation file");
    rows.push_back(std::move(row));
  }
  return rows;
}

BatchOptions readCommonOptions(const std::vector<std::string>& words, const ArityOf& arityOf) {
  BatchOptions options;
  for (const std::string& word : words) {
    if (!word.starts_with("--")) {
      if (options.empty()) throw UsageError("'" + word + "' stands before any option of 'gnx replay'");
      std::string& text = options.back().second;
      text += (text.empty() ? "" : " ") + word;
      continue;
    }
    const auto equals = word.find('=');
    const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
    requireOption(name, arityOf);
    if (name == "obs")
      throw UsageError("--obs: the observations of a batch come from its table or its files");
    options.emplace_back(name, equals == std::string::npos ? "" : word.substr(equals + 1));
  }
  for (const auto& [name, text] : options)
    if (text.empty() && arityOf(name) != Arity::flag) throw UsageError("--" + name + " wants a value");
  return options;
}

}  // namespace gnx
