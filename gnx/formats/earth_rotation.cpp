// Reads Earth rotation parameters by column titles (IGS) or by fixed columns (IERS).

#include <cmath>
#include <string_view>

#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

/// A value of a row in the unit of the record.
double valueOf(const TextReader& in, std::string_view text, const char* name, double unit) {
  const auto value = parseReal(text);
  if (!value) in.fail(name, "'" + std::string(text) + "' is no number; the file is damaged here");
  if (std::fabs(*value * unit) > 1.0)
    in.fail(name, "'" + std::string(text) + "' is beyond one arcsecond or second; is this version 2?");
  return *value * unit;
}

void append(const TextReader& in, std::vector<EarthRotation>& records, const EarthRotation& record) {
  if (!records.empty() && record.mjd <= records.back().mjd) in.fail("MJD", "the dates do not ascend");
  records.push_back(record);
}

/// Rows behind the titles "MJD Xpole Ypole UT1-UTC ...": microarcseconds and tenths of microseconds.
void readIgs(TextReader& in, std::vector<EarthRotation>& records) {
  constexpr double kPoleUnit = 1e-6, kUt1Unit = 1e-7;
  std::string_view line;
  std::vector<std::string_view> words;
  bool titles = false;
  while (in.next(line)) {
    split(line, words);
    if (words.empty()) continue;
    if (!titles) {
      titles = words.front() == "MJD";
      continue;
    }
    const auto mjd = parseReal(words.front());
    if (!mjd) continue;  // the line of the units
    if (words.size() < 4) in.fail("line", "MJD, two coordinates of the pole and UT1-UTC expected");
    append(in, records,
           {*mjd, valueOf(in, words[1], "Xpole", kPoleUnit), valueOf(in, words[2], "Ypole", kPoleUnit),
            valueOf(in, words[3], "UT1-UTC", kUt1Unit)});
  }
}

/// "20 625 59025.00 I  0.141032 ...": values of Bulletin A; the far end has days without predictions.
void readFinals(TextReader& in, std::vector<EarthRotation>& records) {
  std::string_view line;
  while (in.next(line)) {
    const auto mjd = parseReal(column(line, 7, 8));
    if (!mjd) in.fail("MJD", "not found in columns 8 to 15: give an .erp file of version 2, or finals2000A");
    const std::string_view x = column(line, 18, 9), y = column(line, 37, 9), ut1 = column(line, 58, 10);
    if (trim(x).empty() || trim(y).empty() || trim(ut1).empty()) continue;
    append(in, records,
           {*mjd, valueOf(in, x, "x of the pole", 1.0), valueOf(in, y, "y of the pole", 1.0),
            valueOf(in, ut1, "UT1-UTC", 1.0)});
  }
}

}  // namespace

std::vector<EarthRotation> readEarthRotation(const std::string& path) {
  TextReader in(path);
  std::vector<EarthRotation> records;
  std::string_view line;
  std::vector<std::string_view> words;
  constexpr const char* kEmpty = "no Earth rotation parameters: fetch the file again";
  if (!in.next(line)) in.failAtEnd(kEmpty);
  split(line, words);
  if (words.size() >= 2 && (words[0] == "version" || words[0] == "VERSION")) {
    if (words[1] != "2") in.fail("version", "'" + std::string(words[1]) + "' is not read, version 2 is");
    readIgs(in, records);
  } else {
    in.unread();
    readFinals(in, records);
  }
  if (records.empty()) in.failAtEnd(kEmpty);
  return records;
}

}  // namespace gnx
