// Reads the rows of a bias solution, absolute and differential.

#include <cmath>
#include <limits>
#include <optional>

#include "gnx/read.h"
#include "gnx/time.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr std::int64_t kFarAway = std::int64_t{1} << 40;

class BiasReader {
 public:
  BiasReader(const std::string& path, std::vector<BiasRow>& rows) : m_reader(path), m_rows(rows) {}
  void read();

 private:
  void readRow(std::string_view line);
  GpsTime readTime(std::string_view text, const char* field, std::int64_t open) const;

  TextReader m_reader;
  std::vector<BiasRow>& m_rows;
  std::string m_timeSystem;
  std::vector<std::string_view> m_words;
};

/// Time systems are single letters in this format.
std::optional<std::string> scaleOfLetter(std::string_view letter) {
  if (letter == "G" || letter == "E" || letter == "J" || letter == "GPS") return "GPS";
  if (letter == "C") return "BDT";
  if (letter == "R" || letter == "UTC" || letter == "U") return "UTC";
  if (letter == "T" || letter == "TAI") return "TAI";
  return std::nullopt;
}

void BiasReader::read() {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("file is empty");
  if (line.substr(0, 5) != "%=BIA")
    m_reader.fail("", "is not a bias SINEX file (first line does not begin with %=BIA)");
  std::string block;
  while (m_reader.next(line)) {
    if (line.substr(0, 8) == "%=ENDBIA") return m_reader.finish();
    if (line.empty() || line.front() == '*') continue;
    if (line.front() == '+') {
      block = trim(line.substr(1));
    } else if (line.front() == '-') {
      if (block != trim(line.substr(1)))
        m_reader.fail("block", "end of a block that is not open; the file is damaged");
      block.clear();
    } else if (block == "BIAS/SOLUTION") {
      readRow(line);
    } else if (block == "BIAS/DESCRIPTION") {
      split(line, m_words);
      if (m_words.size() >= 2 && m_words[0] == "TIME_SYSTEM") {
        const auto scale = scaleOfLetter(m_words[1]);
        if (!scale) m_reader.fail("TIME_SYSTEM", "'" + std::string(m_words[1]) + "' is unknown");
        m_timeSystem = *scale;
      }
    } else if (block.empty()) {
      m_reader.fail("line", "stands outside of the blocks; the file is damaged here");
    }
  }
  m_reader.failAtEnd("file ends without %=ENDBIA; it is truncated, fetch it again");
}

/// " OSB  G063 G01           C1C       2016:296:00000 2016:333:00000 ns   -0.3050  0.0010":
/// fixed columns up to the signals, words behind them (writers differ in the width of the values).
void BiasReader::readRow(std::string_view line) {
  const std::string_view kind = trim(column(line, 1, 4));
  if (kind != "OSB" && kind != "DSB" && kind != "ISB") {
    m_reader.fail("bias type",
                  "'" + std::string(kind) + "' is not OSB, DSB or ISB; the file is damaged here");
  }
  const std::string_view prn = column(line, 11, 3);
  if (kind == "ISB" || !trim(column(line, 15, 9)).empty() || trim(prn).size() < 3) return;
  const auto sat = parseSat(prn);
  if (!sat) m_reader.fail("PRN", "'" + std::string(prn) + "' is no satellite");

  BiasRow row;
  row.sat = *sat;
  row.signal = trim(column(line, 25, 4));
  row.second = trim(column(line, 30, 4));
  if (row.signal.size() != 3 || row.second.size() != (kind == "DSB" ? 3u : 0u)) {
    m_reader.fail(*sat + " signal", "wrong number of three-character signals; the file is damaged here");
  }
  split(column(line, 34, line.size()), m_words);
  if (m_words.size() < 4)
    m_reader.fail(*sat + " " + row.signal, "row has too few fields; the file is damaged here");
  row.from = readTime(m_words[0], "begin", -kFarAway);
  row.until = readTime(m_words[1], "end", kFarAway);
  const auto value = parseReal(m_words[3]);
  if (!value || !(std::fabs(*value) < 1e6)) {
    m_reader.fail(*sat + " " + row.signal, "'" + std::string(m_words[3]) + "' is no bias value");
  }
  row.cycles = m_words[2] == "cyc";
  if (!row.cycles && m_words[2] != "ns") {
    m_reader.fail(*sat + " unit", "'" + std::string(m_words[2]) + "' is not ns or cyc");
  }
  row.value = row.cycles ? *value : *value * 1e-9;
  m_rows.push_back(std::move(row));
}

/// "2020:177:00000"; all zeros leave an end open.
GpsTime BiasReader::readTime(std::string_view text, const char* field, std::int64_t open) const {
  const auto year = parseInt(column(text, 0, 4)), day = parseInt(column(text, 5, 3)),
             second = parseInt(column(text, 9, 5));
  if (text.size() != 14 || text[4] != ':' || text[8] != ':' || !year || !day || !second) {
    m_reader.fail(field, "'" + std::string(text) + "' is not yyyy:ddd:sssss");
  }
  if (*year == 0 && *day == 0) return {open, 0.0};
  if (*year < 1980 || *year > 2200 || *day < 1 || *day > 366 || *second < 0 || *second > 86400) {
    m_reader.fail(field, "'" + std::string(text) + "' is no time");
  }
  const GpsTime reading = toGpsTime({*year, 1, 1, 0, 0, 0.0}) + ((*day - 1) * 86400.0 + *second);
  return *gpsTimeOf(reading, m_timeSystem);
}

}  // namespace

std::vector<BiasRow> readSinexBias(const std::vector<std::string>& paths) {
  std::vector<BiasRow> rows;
  for (const std::string& path : paths) BiasReader(path, rows).read();
  return rows;
}

/// "%=BIA 1.00 COD 2020:248:10302 IGS ...": the agency that made the file stands before the date.
std::string sinexBiasAgency(const std::string& path) {
  TextReader reader(path);
  std::string_view line;
  std::vector<std::string_view> words;
  if (reader.next(line)) split(line, words);
  return words.size() > 2 ? std::string(words[2]) : "";
}

}  // namespace gnx
