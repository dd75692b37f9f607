// Reads Earth rotation parameters by column titles (IGS) or by fixed columns (IERS).

#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"
#include "values/zonal_tides.h"

namespace gnx {

namespace {

/// What the column of UT1 holds.
struct Ut1Column {
  bool againstTai = false;   ///< UT1-TAI, else UT1-UTC
  bool regularised = false;  ///< UT1R: without the zonal tides up to 35 days
};

/// Units of the pole (arcsec) and of UT1 (s) by version of the form.
struct Units {
  double pole = 1.0, ut1 = 1.0;
};
constexpr Units kVersion1{1e-5, 1e-6}, kVersion2{1e-6, 1e-7};

/// A value of a row in the unit of the record.
double valueOf(const TextReader& in, std::string_view text, const char* name, double unit,
               double expected = 0.0) {
  const auto value = parseReal(text);
  if (!value) in.fail(name, "'" + std::string(text) + "' is no number; the file is damaged here");
  if (std::fabs(*value * unit - expected) > 1.0)
    in.fail(name,
            "'" + std::string(text) + "' is beyond one arcsecond or second; is the version that of line 1?");
  return *value * unit;
}

void append(const TextReader& in, std::vector<EarthRotation>& records, const EarthRotation& record) {
  if (!records.empty() && record.mjd <= records.back().mjd) in.fail("MJD", "the dates do not ascend");
  records.push_back(record);
}

/// UT1-UTC of a row, with all tides.
double ut1MinusUtc(const TextReader& in, std::string_view text, const Ut1Column& ut1, double mjd,
                   double unit) {
  constexpr std::int64_t kUnixMjd = 40587;
  constexpr double kGpsBehindTai_s = 19.0;
  const auto day = static_cast<std::int64_t>(mjd);
  const double leap =
      ut1.againstTai ? kGpsBehindTai_s + leapSecondsAtUtc(GpsTime{(day - kUnixMjd) * 86400, 0.0}) : 0.0;
  const double value = valueOf(in, text, "UT1", unit, -leap) + leap;
  return ut1.regularised ? value + shortZonalTides_s(mjd) : value;
}

/// Rows behind the titles "MJD Xpole Ypole UT1-UTC ...", which free text precedes.
void readIgs(TextReader& in, const Units& units, std::vector<EarthRotation>& records) {
  std::string_view line;
  std::vector<std::string_view> words;
  std::optional<Ut1Column> ut1;
  while (in.next(line)) {
    split(line, words);
    if (words.empty()) continue;
    if (!ut1) {
      if (words.front() == "MJD")
        ut1 = {line.find("-TAI") != std::string_view::npos, line.find("UT1R") != std::string_view::npos};
      continue;
    }
    const auto mjd = parseReal(words.front());
    if (!mjd) continue;  // the line of the units
    if (!(*mjd > 40000.0 && *mjd < 100000.0))
      in.fail("MJD", "is no day of this age; the file is damaged here");
    if (words.size() < 4) in.fail("line", "MJD, two coordinates of the pole and UT1-UTC expected");
    append(in, records,
           {*mjd, valueOf(in, words[1], "Xpole", units.pole), valueOf(in, words[2], "Ypole", units.pole),
            ut1MinusUtc(in, words[3], *ut1, *mjd, units.ut1)});
  }
  if (!ut1) in.failAtEnd("has no line of titles that begins with MJD: give an .erp file, or finals2000A");
}

/// "20 625 59025.00 I  0.141032 ...": values of Bulletin A; the far end has days without predictions.
void readFinals(TextReader& in, std::vector<EarthRotation>& records) {
  std::string_view line;
  while (in.next(line)) {
    const auto mjd = parseReal(column(line, 7, 8));
    if (!mjd) in.fail("MJD", "not found in columns 8 to 15: give an .erp file, or finals2000A");
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
    if (words[1] != "1" && words[1] != "2")
      in.fail("version", "'" + std::string(words[1]) + "' is not read, versions 1 and 2 are");
    readIgs(in, words[1] == "1" ? kVersion1 : kVersion2, records);
  } else {
    const bool fixedColumns = parseReal(column(line, 7, 8)).has_value();
    in.unread();
    if (fixedColumns) readFinals(in, records);
    else readIgs(in, kVersion1, records);  // which has no line of its version
  }
  if (records.empty()) in.failAtEnd(kEmpty);
  return records;
}

}  // namespace gnx
