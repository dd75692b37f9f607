#pragma once
/// \file batch_table.h
/// What a batch is told: rows of a table, and options common to all of its runs.
///
/// A table is CSV with a line of column names: "station" and "day" are its own, both may be absent, all other
/// columns are options of 'gnx replay' without their dashes, "obs" among them. Cells are values as on the
/// command line, several with blanks between them; of a flag anything but "", "no" and "0" switches it on.
/// Options that a row leaves empty come from those common to all runs.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "gnx/time.h"

namespace gnx {

/// How many values an option of a run takes.
enum class Arity { unknown, flag, one, several };
using ArityOf = std::function<Arity(const std::string& option)>;

/// Options by their names without dashes, and their texts as in a cell.
using BatchOptions = std::vector<std::pair<std::string, std::string>>;

/// The text of an option; "" when it is not given.
const std::string& textOf(const BatchOptions& options, const std::string& name);

/// A row of the table before its days are counted out.
struct BatchRow {
  std::string place;         ///< "table.csv:3", for errors
  std::string station, day;  ///< as written; "" = those of the observations
  BatchOptions options;
};

/// \throws InputError with file, line and column
std::vector<BatchRow> readBatchTable(const std::string& path, const ArityOf& arityOf);
/// Words of a command line, as they stand behind "--". \throws UsageError
BatchOptions readCommonOptions(const std::vector<std::string>& words, const ArityOf& arityOf);

/// "2020-06-25", "2020-177", or two of them with ".." between: every day from the first to the last.
/// \throws UsageError
std::vector<GpsTime> parseDays(const std::string& text);

}  // namespace gnx
