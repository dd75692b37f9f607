// Reads a list of faults and says which of them strike a signal at a time.

#include "simulate/faults.h"

#include <algorithm>
#include <limits>
#include <map>

#include "gnx/error.h"
#include "text/json_file.h"

namespace gnx {

namespace {

/// Epochs are compared with a millisecond to spare.
constexpr double kTolerance = 1e-3;

bool concerns(const Fault& fault, Fault::Kind kind, const SatName& sat) {
  return fault.kind == kind && (fault.sat.empty() || fault.sat == sat);
}

bool concerns(const Fault& fault, Fault::Kind kind, const SatName& sat, const std::string& signal) {
  return concerns(fault, kind, sat) && (fault.signal.empty() || fault.signal == signal);
}

bool acts(const Fault& fault, double seconds) {
  return seconds >= fault.from - kTolerance && seconds <= fault.to + kTolerance;
}

Fault parseFault(const Json::Value& entry, const std::string& file, unsigned number) {
  static const std::map<std::string, Fault::Kind> kinds = {{"slip", Fault::Kind::slip},
                                                           {"gap", Fault::Kind::gap},
                                                           {"code", Fault::Kind::code},
                                                           {"phase", Fault::Kind::phase},
                                                           {"ssr_gap", Fault::Kind::ssrGap},
                                                           {"ssr_clock", Fault::Kind::ssrClock},
                                                           {"ssr_orbit_gap", Fault::Kind::ssrOrbitGap},
                                                           {"ssr_phase_gap", Fault::Kind::ssrPhaseGap},
                                                           {"ssr_phase_sign", Fault::Kind::ssrPhaseSign},
                                                           {"ssr_phase_random", Fault::Kind::ssrPhaseRandom},
                                                           {"bias_jump", Fault::Kind::biasJump},
                                                           {"bias_drift", Fault::Kind::biasDrift}};
  const std::string place = "fault " + std::to_string(number) + ": ";
  if (!entry.isObject() || !entry["kind"].isString() || !kinds.contains(entry["kind"].asString())) {
    std::string known;
    for (const auto& [name, kind] : kinds) known += (known.empty() ? "" : ", ") + name;
    throw InputError(file, 0, place + "\"kind\" is one of " + known);
  }
  if (!entry["from"].isNumeric()) throw InputError(file, 0, place + "\"from\" is seconds from the start");
  for (const char* key : {"to", "size"})
    if (entry.isMember(key) && !entry[key].isNumeric())
      throw InputError(file, 0, place + "\"" + key + "\" is a number");
  for (const char* key : {"sat", "signal"})
    if (entry.isMember(key) && !entry[key].isString())
      throw InputError(file, 0, place + "\"" + key + "\" is a text");
  Fault fault;
  fault.kind = kinds.at(entry["kind"].asString());
  fault.sat = entry.get("sat", "").asString();
  fault.signal = entry.get("signal", "").asString();
  fault.from = entry["from"].asDouble();
  const bool lasts = fault.kind == Fault::Kind::biasDrift;
  fault.to = entry.get("to", lasts ? std::numeric_limits<double>::infinity() : fault.from).asDouble();
  fault.size = entry.get("size", 1.0).asDouble();
  return fault;
}

}  // namespace

FaultList FaultList::read(const std::filesystem::path& file) {
  const Json::Value root = readJson(file);
  if (!root.isArray()) throw InputError(file.string(), 0, "is not a list of faults [...]");
  std::vector<Fault> faults;
  for (unsigned i = 0; i < root.size(); ++i) faults.push_back(parseFault(root[i], file.string(), i + 1));
  return FaultList(std::move(faults));
}

bool FaultList::strikes(Fault::Kind kind, const SatName& sat, double seconds) const {
  for (const Fault& fault : m_faults)
    if (concerns(fault, kind, sat) && acts(fault, seconds)) return true;
  return false;
}

double FaultList::size(Fault::Kind kind, const SatName& sat, const std::string& signal,
                       double seconds) const {
  double sum = 0.0;
  for (const Fault& fault : m_faults)
    if (concerns(fault, kind, sat, signal) && acts(fault, seconds)) sum += fault.size;
  return sum;
}

double FaultList::biasChange(const SatName& sat, const std::string& signal, double seconds) const {
  double sum = 0.0;
  for (const Fault& fault : m_faults) {
    if (seconds < fault.from - kTolerance) continue;
    if (concerns(fault, Fault::Kind::biasJump, sat, signal)) sum += fault.size;
    if (concerns(fault, Fault::Kind::biasDrift, sat, signal))
      sum += fault.size * (std::min(seconds, fault.to) - fault.from) / 3600.0;
  }
  return sum;
}

double FaultList::slippedCycles(const SatName& sat, const std::string& signal, double seconds) const {
  double sum = 0.0;
  for (const Fault& fault : m_faults)
    if (concerns(fault, Fault::Kind::slip, sat, signal) && seconds >= fault.from - kTolerance)
      sum += fault.size;
  return sum;
}

}  // namespace gnx
