// Carriers of simulated signals, and the table of signals from text.

#include "simulate/signals.h"

#include <sstream>

#include "formats/input_error.h"

namespace gnx {

double carrierFrequency(char system, const std::string& signal) {
  static const std::map<std::string, double> frequencies = {
      {"G1", 1575.42e6}, {"G2", 1227.60e6}, {"G5", 1176.45e6},  {"E1", 1575.42e6},  {"E5", 1176.45e6},
      {"E6", 1278.75e6}, {"E7", 1207.14e6}, {"E8", 1191.795e6}, {"C1", 1575.42e6},  {"C2", 1561.098e6},
      {"C5", 1176.45e6}, {"C6", 1268.52e6}, {"C7", 1207.14e6},  {"C8", 1191.795e6}, {"J1", 1575.42e6},
      {"J2", 1227.60e6}, {"J5", 1176.45e6}, {"J6", 1278.75e6}};
  if (signal.size() != 2) return 0.0;
  const auto found = frequencies.find({system, signal[0]});
  return found == frequencies.end() ? 0.0 : found->second;
}

SignalTable defaultSignals() {
  return {{'G', {"1C", "2W", "5Q"}},
          {'E', {"1C", "5Q", "7Q"}},
          {'C', {"2I", "6I", "5P"}},
          {'J', {"1C", "2L", "5Q"}}};
}

SignalTable parseSignalTable(const std::string& text) {
  SignalTable table = defaultSignals();
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word.size() < 4 || word[1] != ':' || !table.contains(word[0]))
      throw UsageError("signals: '" + word + "' is not of the form G:1C,2W with a system of G E C J");
    std::vector<std::string> list;
    std::istringstream codes(word.substr(2));
    for (std::string code; std::getline(codes, code, ',');) {
      if (carrierFrequency(word[0], code) == 0.0)
        throw UsageError("signals: '" + code + "' is no signal of system " + word[0]);
      list.push_back(code);
    }
    if (list.size() < 2)
      throw UsageError("signals: system " + word.substr(0, 1) + " needs at least two signals");
    table[word[0]] = list;
  }
  return table;
}

}  // namespace gnx
