// Carriers of simulated signals, and the table of signals from text.

#include "simulate/signals.h"

#include <sstream>

#include "gnx/error.h"
#include "gnx/signal.h"

namespace gnx {

double carrierFrequency(char system, const std::string& signal) {
  return signal.size() == 2 ? carrierFrequency(system, signal[0]).value_or(0.0) : 0.0;
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
