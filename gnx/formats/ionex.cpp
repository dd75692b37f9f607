// Reads the maps of vertical electron content and the code biases of IONEX files, and joins files of several
// days.

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "formats/product_records.h"
#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr std::size_t kMostNodes = 1'000'000;

class IonexReader {
 public:
  IonexReader(const std::string& path, IonosphereMaps& maps) : m_reader(path), m_all(maps) {}
  void read();

 private:
  void readHeader();
  void readHeaderLine(std::string_view line, std::string_view label);
  void readBias(std::string_view line);
  void readMap();
  void readRow(std::string_view line, IonosphereMap& map);
  void skipTo(const char* label);
  GpsTime readEpoch(std::string_view line) const;
  MapAxis readAxis(std::string_view line, const char* name) const;
  /// Columns 61 to 80; some writers join words by "_".
  std::string labelOf(std::string_view line) const;

  TextReader m_reader;
  IonosphereMaps& m_all;
  IonosphereMaps m_file;
  double m_unit = 0.1;  ///< TECU
};

std::string IonexReader::labelOf(std::string_view line) const {
  std::string label(trim(column(line, 60, 20)));
  std::ranges::replace(label, '_', ' ');
  return label;
}

void IonexReader::read() {
  readHeader();
  bool ended = false;
  for (std::string_view line; !ended && m_reader.next(line);) {
    const std::string label = labelOf(line);
    if (label == "START OF TEC MAP") readMap();
    else if (label == "START OF RMS MAP") skipTo("END OF RMS MAP");
    else if (label == "START OF HEIGHT MAP") skipTo("END OF HEIGHT MAP");
    else if (label == "EXPONENT") readHeaderLine(line, label);
    ended = label == "END OF FILE";
  }
  if (!ended) m_reader.failAtEnd("file ends without END OF FILE; it is truncated, fetch it again");
  m_reader.finish();
  if (m_file.maps.empty()) m_reader.failAtEnd("holds no map of the electron content");
  const bool same =
      m_all.maps.empty() ||
      (m_all.latitude.count == m_file.latitude.count && m_all.longitude.count == m_file.longitude.count &&
       m_all.latitude.first == m_file.latitude.first && m_all.longitude.first == m_file.longitude.first &&
       m_all.height_m == m_file.height_m);
  if (!same) m_reader.failAtEnd("has another grid than the file before it; give files of one centre");
  std::ranges::move(m_file.maps, std::back_inserter(m_all.maps));
  m_file.maps = std::move(m_all.maps);
  m_file.codeBiases.merge(m_all.codeBiases);
  m_all = std::move(m_file);
}

void IonexReader::readHeader() {
  std::string_view line;
  if (!m_reader.next(line)) m_reader.failAtEnd("file is empty");
  if (labelOf(line) != "IONEX VERSION / TYPE" || column(line, 20, 1) != "I")
    m_reader.fail("", "is not an IONEX file of maps (no IONEX VERSION / TYPE with I in line 1)");
  for (bool ended = false; !ended;) {
    if (!m_reader.next(line))
      m_reader.failAtEnd("file ends within its header; it is truncated, fetch it again");
    const std::string label = labelOf(line);
    readHeaderLine(line, label);
    ended = label == "END OF HEADER";
  }
  if (m_file.latitude.count == 0 || m_file.longitude.count == 0)
    m_reader.fail("header", "has no grid (LAT1 / LAT2 / DLAT, LON1 / LON2 / DLON)");
}

void IonexReader::readHeaderLine(std::string_view line, std::string_view label) {
  const auto number = [&](std::size_t start, std::size_t width) {
    return parseReal(column(line, start, width));
  };
  if (label == "LAT1 / LAT2 / DLAT") m_file.latitude = readAxis(line, "latitudes");
  else if (label == "LON1 / LON2 / DLON") m_file.longitude = readAxis(line, "longitudes");
  else if (label == "PRN / BIAS / RMS") readBias(line);
  else if (label == "BASE RADIUS") {
    const auto radius = number(0, 8);
    if (!radius || !(*radius > 6000.0 && *radius < 7000.0))
      m_reader.fail("BASE RADIUS", "is no radius in km");
    m_file.baseRadius_m = *radius * 1e3;
  } else if (label == "HGT1 / HGT2 / DHGT") {
    const auto height = number(2, 6), last = number(8, 6);
    if (!height || !last || !(*height >= 100.0 && *height <= 2000.0))
      m_reader.fail("HGT1 / HGT2 / DHGT", "is no height of a layer in km");
    if (*last != *height)
      m_reader.fail("HGT1 / HGT2 / DHGT", "maps of several layers are not read; give one layer");
    m_file.height_m = *height * 1e3;
  } else if (label == "EXPONENT") {
    const auto exponent = parseInt(column(line, 0, 6));
    if (!exponent || std::abs(*exponent) > 9) m_reader.fail("EXPONENT", "is no small whole number");
    m_unit = std::pow(10.0, *exponent);
  }
}

MapAxis IonexReader::readAxis(std::string_view line, const char* name) const {
  const auto first = parseReal(column(line, 2, 6)), last = parseReal(column(line, 8, 6)),
             step = parseReal(column(line, 14, 6));
  const bool good = first && last && step && std::fabs(*first) <= 360.0 && std::fabs(*last) <= 360.0 &&
                    std::fabs(*step) >= 0.1 && (*last - *first) / *step >= 1.0;
  if (!good) m_reader.fail(name, "first, last and step expected, degrees; the file is damaged here");
  return {*first, *step, static_cast<std::size_t>(std::lround((*last - *first) / *step)) + 1};
}

/// "   G01    -8.120     0.008": first minus second signal, ns; biases of stations are left aside.
void IonexReader::readBias(std::string_view line) {
  const auto sat = parseSat(column(line, 3, 3));
  const auto nanoseconds = parseReal(column(line, 6, 10));
  if (!trim(column(line, 0, 3)).empty() || !sat) return;
  if (!nanoseconds || std::fabs(*nanoseconds) > 1e3) m_reader.fail(*sat, "is no code bias in ns");
  m_file.codeBiases[*sat] = *nanoseconds * 1e-9;
}

GpsTime IonexReader::readEpoch(std::string_view line) const {
  const auto field = [&](std::size_t i) { return parseInt(column(line, 6 * i, 6)); };
  const bool midnight = field(3) == 24;  // of the next day
  const auto second = field(5);
  const auto reading = parseDate(field(0), field(1), field(2), midnight ? 0 : field(3), field(4),
                                 second ? std::optional<double>(*second) : std::nullopt);
  const auto time = reading ? gpsTimeOf(*reading, "UTC") : std::nullopt;
  if (!time) m_reader.fail("EPOCH OF CURRENT MAP", "is not a date and time; the file is damaged here");
  return *time + (midnight ? 86400.0 : 0.0);
}

void IonexReader::readMap() {
  const std::size_t nodes = m_file.latitude.count * m_file.longitude.count;
  if (nodes > kMostNodes) m_reader.fail("grid", "has more nodes than any map; the file is damaged");
  IonosphereMap map;
  std::optional<GpsTime> time;
  for (std::string_view line; m_reader.next(line);) {
    const std::string label = labelOf(line);
    if (label == "EPOCH OF CURRENT MAP") time = readEpoch(line);
    else if (label == "EXPONENT") readHeaderLine(line, label);
    else if (label == "LAT/LON1/LON2/DLON/H") {
      map.content.resize(nodes, std::numeric_limits<double>::quiet_NaN());
      readRow(line, map);
    } else if (label == "END OF TEC MAP") {
      if (!time) m_reader.fail("map", "has no EPOCH OF CURRENT MAP");
      map.time = *time;
      if (!map.content.empty()) m_file.maps.push_back(std::move(map));
      return;
    }
  }
  m_reader.failAtEnd("file ends within a map; it is truncated, fetch it again");
}

/// Values of five columns, sixteen a line, which reach into the columns of labels and may touch.
void IonexReader::readRow(std::string_view line, IonosphereMap& map) {
  constexpr std::size_t kOnLine = 16, kWidth = 5;
  constexpr int kNone = 9999;
  const auto latitude = parseReal(column(line, 2, 6));
  const double place = latitude ? (*latitude - m_file.latitude.first) / m_file.latitude.step : -1.0;
  const bool onNode = place > -0.5 && std::fabs(place - std::round(place)) < 0.01 &&
                      std::round(place) < static_cast<double>(m_file.latitude.count);
  if (!onNode) m_reader.fail("latitude", "is not of the grid of the header; the file is damaged here");
  const auto row = static_cast<std::size_t>(std::lround(place)) * m_file.longitude.count;
  std::string_view values;
  for (std::size_t i = 0; i < m_file.longitude.count; ++i) {
    if (i % kOnLine == 0 && !m_reader.next(values))
      m_reader.failAtEnd("file ends within a map; it is truncated, fetch it again");
    const auto text = column(values, kWidth * (i % kOnLine), kWidth);
    const auto value = parseInt(text);
    if (!value)
      m_reader.fail("content", "'" + std::string(text) + "' is not a number; the file is damaged here");
    if (*value != kNone) map.content[row + i] = *value * m_unit;
  }
}

void IonexReader::skipTo(const char* label) {
  for (std::string_view line; m_reader.next(line);)
    if (labelOf(line) == label) return;
  m_reader.failAtEnd("file ends within a map; it is truncated, fetch it again");
}

}  // namespace

IonosphereMaps readIonex(const std::vector<std::string>& paths) {
  IonosphereMaps maps;
  for (const std::string& path : paths) IonexReader(path, maps).read();
  sortAndUnite(maps.maps);
  return maps;
}

}  // namespace gnx
