// Chooses a signal for each band from what was received and what was corrected.

#include <algorithm>

#include "gnx/adapt.h"
#include "gnx/error.h"

namespace gnx {

namespace {

/// Attributes of a band in order of preference: `withBias` when the corrections say which signals they
/// serve, `reference` when they do not and the clock's own reference signals are needed (IGS
/// convention: GPS P(Y) codes, Galileo and QZSS civil codes, BeiDou I components).
struct Preference {
  char system, band;
  const char* withBias;
  const char* reference;
};

constexpr Preference kPreferences[] = {
    {'G', '1', "CWLXSPY", "WPCLXS"}, {'G', '2', "WLXSCPY", "WPLXSC"}, {'G', '5', "QXI", "QXI"},
    {'E', '1', "CXB", "CXB"},        {'E', '5', "QXI", "QXI"},        {'E', '6', "CXB", "CXB"},
    {'E', '7', "QXI", "QXI"},        {'E', '8', "QXI", "QXI"},        {'C', '1', "PXD", "PXD"},
    {'C', '2', "IQX", "IQX"},        {'C', '5', "PXD", "PXD"},        {'C', '6', "IQX", "IQX"},
    {'C', '7', "IQXDPZ", "IQXDPZ"},  {'C', '8', "PXD", "PXD"},        {'J', '1', "CLXS", "CLXS"},
    {'J', '2', "LXS", "LXS"},        {'J', '5', "QXI", "QXI"},        {'J', '6', "LXSEZ", "LXSEZ"},
    {'R', '1', "CP", "PC"},          {'R', '2', "CP", "PC"},
};

const Preference* preferenceOf(char system, char band) {
  const auto* found = std::find_if(std::begin(kPreferences), std::end(kPreferences),
                                   [=](const Preference& p) { return p.system == system && p.band == band; });
  return found == std::end(kPreferences) ? nullptr : found;
}

bool contains(const std::vector<std::string>& list, const std::string& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

/// Signal under which a set of corrections serves `code`; "" when it does not.
std::string correctedName(char system, const std::set<std::string>& corrected, const std::string& code) {
  if (corrected.contains(code)) return code;
  for (const std::string& signal : corrected) {
    if (sameSignalFamily(system, signal, code)) return signal;
  }
  return "";
}

/// The phase to go with a code: of the same signal, else of the best signal of the band. Receivers
/// align the phases of one band, many give no L1W.
std::string phaseFor(const std::vector<std::string>& received, const Preference& preference,
                     const std::string& code) {
  if (contains(received, "L" + code)) return code;
  for (const char* attribute = preference.withBias; *attribute != '\0'; ++attribute) {
    const std::string candidate{preference.band, *attribute};
    if (contains(received, "L" + candidate)) return candidate;
  }
  return "";
}

}  // namespace

SignalPlan::SignalPlan(const Request& request) {
  checkForced(request);
  for (const auto& [system, bands] : request.bands) planSystem(system, request);
}

void SignalPlan::checkForced(const Request& request) {
  for (const auto& [system, signals] : request.forced) {
    const auto bands = request.bands.find(system);
    if (bands == request.bands.end())
      throw UsageError(std::string("signals are chosen for system ") + system +
                       ", which is not in the deployment; leave them out or add the system");
    for (const std::string& signal : signals)
      if (signal.empty() || bands->second.find(signal[0]) == std::string::npos)
        throw UsageError("signal " + signal + " of system " + system +
                         " is on no observed frequency, the bands are " + bands->second +
                         "; choose another signal, or add its frequency to freqobs");
  }
}

void SignalPlan::planSystem(char system, const Request& request) {
  static const std::vector<std::string> none;
  static const std::set<std::string> noCorrections;
  const auto receivedAt = request.received.find(system);
  const auto& received = receivedAt == request.received.end() ? none : receivedAt->second;
  if (received.empty()) return;
  const auto correctedAt = request.corrected.find(system);
  const auto& corrected = correctedAt == request.corrected.end() ? noCorrections : correctedAt->second;
  const auto forcedAt = request.forced.find(system);

  for (const char band : request.bands.at(system)) {
    const Preference* preference = preferenceOf(system, band);
    if (preference == nullptr) continue;
    std::vector<std::string> candidates;
    if (forcedAt != request.forced.end()) {
      for (const std::string& signal : forcedAt->second) {
        if (signal.size() == 2 && signal[0] == band) candidates.push_back(signal);
      }
      if (!candidates.empty() && !contains(received, "C" + candidates.front())) {
        throw UsageError("signal " + candidates.front() + " of system " + system +
                         " is not in the observation file; leave it out of --signals or choose another");
      }
    }
    if (candidates.empty()) {
      const bool biased = !request.corrected.empty();
      for (const char* a = biased ? preference->withBias : preference->reference; *a != '\0'; ++a) {
        candidates.push_back({band, *a});
      }
    }
    bool planned = false;
    for (const std::string& code : candidates) {
      if (!contains(received, "C" + code)) continue;
      const std::string phase = phaseFor(received, *preference, code);
      const std::string bias = correctedName(system, corrected, code);
      if (phase.empty() || (!request.corrected.empty() && bias.empty())) continue;
      signals_[system].push_back({code, phase, bias});
      planned = true;
      break;
    }
    if (!planned) {
      warnings_.push_back(std::string("no signal of band ") + band + " of system " + system +
                          " is both in the observation file and in the corrections");
    }
  }
}

const std::vector<PlannedSignal>& SignalPlan::of(char system) const {
  static const std::vector<PlannedSignal> none;
  const auto found = signals_.find(system);
  return found == signals_.end() ? none : found->second;
}

std::string SignalPlan::describe() const {
  std::string text;
  for (const auto& [system, signals] : signals_) {
    text += std::string("signals ") + system + ":";
    for (const PlannedSignal& s : signals) {
      text += " C" + s.code + "/L" + s.phase;
      if (!s.bias.empty() && s.bias != s.code) text += " (biases of " + s.bias + ")";
    }
    text += '\n';
  }
  return text;
}

}  // namespace gnx
