// Bands, carriers, signals of a kind and the pairs of signals of satellite clocks.

#include "gnx/signal.h"

#include <algorithm>
#include <string_view>

namespace gnx {

namespace {

/// RINEX 3.05, tables 4 to 10.
struct Band {
  std::string_view systems;
  char band;
  double frequency;
};
constexpr Band kBands[] = {{"GEJC", '1', 1575.42e6}, {"GJ", '2', 1227.60e6}, {"GEJC", '5', 1176.45e6},
                           {"EJ", '6', 1278.75e6},   {"EC", '7', 1207.14e6}, {"EC", '8', 1191.795e6},
                           {"C", '2', 1561.098e6},   {"C", '6', 1268.52e6},  {"R", '1', 1602.0e6},
                           {"R", '2', 1246.0e6},     {"R", '3', 1202.025e6}, {"R", '4', 1600.995e6},
                           {"R", '6', 1248.06e6}};

}  // namespace

std::optional<double> carrierFrequency(char system, char band) {
  for (const Band& b : kBands) {
    if (b.band == band && b.systems.find(system) != std::string_view::npos) return b.frequency;
  }
  return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> clockReferences(char system) {
  switch (system) {
    case 'G':
      return {{"C1W", "C2W"}, {"C1P", "C2P"}};
    case 'R':
      return {{"C1P", "C2P"}};
    case 'E':
      return {{"C1C", "C5Q"}, {"C1X", "C5X"}, {"C1X", "C5Q"}, {"C1C", "C5X"}};
    case 'C':
      return {{"C2I", "C6I"}, {"C2I", "C7I"}};
    case 'J':
      return {{"C1C", "C2L"}, {"C1X", "C2X"}, {"C1C", "C2X"}};
    default:
      return {};
  }
}

bool sameSignalFamily(char system, const std::string& a, const std::string& b) {
  if (a.size() != 2 || b.size() != 2 || a[0] != b[0]) return false;
  if (a[1] == b[1]) return true;
  const std::string families[] = {"IQX", "SLX", "DPX", system == 'E' ? "BCX" : ""};
  return std::any_of(std::begin(families), std::end(families), [&](const std::string& family) {
    return family.find(a[1]) != std::string::npos && family.find(b[1]) != std::string::npos;
  });
}

}  // namespace gnx
