// Turns differences of biases into biases of signals, and the sign of files into that of the engine.

#include "corrections/bias_table.h"

#include <algorithm>
#include <optional>

#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "text/fields.h"

namespace gnx {

namespace {

/// A fixing of ambiguities takes phase biases of files as those of integer ambiguities.
constexpr int kInteger = 1, kWideLane = 2;

std::optional<double> metres(const BiasRow& row) {
  if (!row.cycles) return row.value * kLightSpeed;
  const auto frequency = carrierFrequency(row.sat[0], row.signal[1]);
  if (!frequency) return std::nullopt;
  return row.value * kLightSpeed / *frequency;
}

using Values = std::map<std::string, double>;  ///< m, by "C1W"

/// Observable-specific biases of one satellite from differences, metres, file sign.
Values fromDifferences(char system, const std::vector<const BiasRow*>& rows) {
  Values values;
  const auto difference = [&](const std::string& a, const std::string& b) -> std::optional<double> {
    for (const BiasRow* row : rows) {
      if (row->signal == a && row->second == b) return metres(*row);
      if (row->signal == b && row->second == a) return -metres(*row).value_or(0.0);
    }
    return std::nullopt;
  };
  for (const auto& [first, second] : clockReferences(system)) {
    const auto d = difference(first, second);
    const auto f1 = carrierFrequency(system, first[1]), f2 = carrierFrequency(system, second[1]);
    if (!d || !f1 || !f2) continue;
    const double scale = *d / (*f1 * *f1 - *f2 * *f2);
    values[first] = -*f2 * *f2 * scale;
    values[second] = -*f1 * *f1 * scale;
    break;
  }
  for (bool grown = !values.empty(); grown;) {
    grown = false;
    for (const BiasRow* row : rows) {
      const bool first = values.contains(row->signal), second = values.contains(row->second);
      const auto d = metres(*row);
      if (first == second || !d) continue;
      if (first) {
        values[row->second] = values[row->signal] - *d;
      } else {
        values[row->signal] = values[row->second] + *d;
      }
      grown = true;
    }
  }
  return values;
}

SatBiases toSatBiases(const SatName& sat, const Values& values) {
  SatBiases out;
  out.sat = sat;
  for (const auto& [signal, value] : values) {
    SsrBias bias;
    bias.signal = signal.substr(1);
    bias.value = -value;
    if (signal[0] == 'C') out.code.push_back(bias);
    if (signal[0] != 'L') continue;
    bias.integerIndicator = kInteger;
    bias.wideLaneIndicator = kWideLane;
    out.phase.push_back(bias);
  }
  return out;
}

}  // namespace

BiasTable::BiasTable(std::vector<BiasRow> rows) {
  for (BiasRow& row : rows) {
    m_changes.insert({row.from, row.until});
    m_rows[row.sat].push_back(std::move(row));
  }
}

bool BiasTable::changes(const GpsTime& after, const GpsTime& until) const {
  const auto next = m_changes.upper_bound(after);
  return next != m_changes.end() && *next <= until;
}

std::vector<SatBiases> BiasTable::at(const GpsTime& t) const {
  std::vector<SatBiases> all;
  for (const auto& [sat, rows] : m_rows) {
    Values values;
    std::vector<const BiasRow*> differences;
    for (const BiasRow& row : rows) {
      if (t < row.from || !(t < row.until)) continue;
      const auto value = metres(row);
      if (!row.second.empty()) {
        differences.push_back(&row);
      } else if (value) {
        values[row.signal] = *value;
      }
    }
    if (values.empty()) values = fromDifferences(sat[0], differences);
    if (!values.empty()) all.push_back(toSatBiases(sat, values));
  }
  return all;
}

std::map<SatName, WideLaneBias> wideLaneBiases(const std::vector<std::string>& header) {
  std::map<SatName, WideLaneBias> found;
  std::vector<std::string_view> words;
  for (const std::string& line : header) {
    split(column(line, 0, 60), words);
    if (words.size() != 11 || words[0] != "WL") continue;
    const auto sat = parseSat(words[1]);
    const auto cycles = parseReal(words[9]);
    const std::string_view bands = words[10];
    if (!sat || !cycles || bands.size() != 4) continue;
    found[*sat] = {*cycles, bands[1], bands[3]};
  }
  return found;
}

std::vector<SatBiases> phaseBiasesOf(const std::map<SatName, WideLaneBias>& wideLanes) {
  std::vector<SatBiases> all;
  for (const auto& [sat, wideLane] : wideLanes) {
    const auto f1 = carrierFrequency(sat[0], wideLane.firstBand),
               f2 = carrierFrequency(sat[0], wideLane.secondBand);
    if (!f1 || !f2 || *f1 == *f2) continue;
    const double length = kLightSpeed / (*f1 - *f2);
    const auto name = [system = sat[0]](char band) {
      return std::string{band, band == '1' ? 'C' : system == 'G' && band == '2' ? 'W' : 'Q'};
    };
    SatBiases out;
    out.sat = sat;
    out.phase.push_back(
        {name(wideLane.firstBand), -*f2 / *f1 * length * wideLane.cycles, kInteger, kWideLane, 0});
    out.phase.push_back(
        {name(wideLane.secondBand), -*f1 / *f2 * length * wideLane.cycles, kInteger, kWideLane, 0});
    all.push_back(std::move(out));
  }
  return all;
}

ProductBiases::ProductBiases(const std::vector<std::string>& biasFiles,
                             const std::vector<std::string>& clockHeader)
    : m_table(readSinexBias(biasFiles)), m_wideLanes(phaseBiasesOf(wideLaneBiases(clockHeader))) {}

std::vector<SatBiases> ProductBiases::at(const GpsTime& t) const {
  std::vector<SatBiases> biases = m_table.at(t);
  for (const SatBiases& w : m_wideLanes) {
    const auto same =
        std::find_if(biases.begin(), biases.end(), [&](const SatBiases& b) { return b.sat == w.sat; });
    if (same == biases.end()) biases.push_back(w);
    else if (same->phase.empty()) same->phase = w.phase;
  }
  return biases;
}

}  // namespace gnx
