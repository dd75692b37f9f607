// Averages the fractions of float narrow-lanes between pairs of satellites, arc by arc.

#include "calibrate/narrow_lanes.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <map>
#include <numbers>
#include <set>
#include <string>
#include <utility>

#include "formats/fields.h"
#include "formats/input_error.h"
#include "run/diagnostics.h"

namespace gnx {

namespace {

using Complex = std::complex<double>;
using Pair = std::pair<SatName, SatName>;

constexpr double kGap_s = 650.0;  ///< longer silence of a satellite: another arc
constexpr int kIterations = 2000;

Complex onCircle(double cycles) { return std::polar(1.0, 2.0 * std::numbers::pi * cycles); }
double cyclesOf(const Complex& z) { return std::arg(z) / (2.0 * std::numbers::pi); }

/// How long each satellite has been resolved without a break.
class Ages {
 public:
  double at(const SatName& sat, const GpsTime& t) {
    const auto [entry, fresh] = arcs_.try_emplace(sat, Arc{t, t});
    Arc& arc = entry->second;
    if (!fresh && t - arc.last > kGap_s) arc.first = t;
    arc.last = t;
    return t - arc.first;
  }

 private:
  struct Arc {
    GpsTime first, last;
  };
  std::map<SatName, Arc> arcs_;
};

/// Satellites connected with the first one.
std::set<SatName> connected(const SatName& first, const std::map<Pair, Complex>& pairs) {
  std::set<SatName> group{first};
  for (bool grown = true; grown;) {
    grown = false;
    for (const auto& [pair, sum] : pairs) {
      if (group.contains(pair.first) == group.contains(pair.second)) continue;
      group.insert(pair.first);
      group.insert(pair.second);
      grown = true;
    }
  }
  return group;
}

std::set<SatName> largestGroup(const std::map<Pair, Complex>& pairs) {
  std::set<SatName> left, best;
  for (const auto& [pair, sum] : pairs) left.insert({pair.first, pair.second});
  while (!left.empty()) {
    const std::set<SatName> group = connected(*left.begin(), pairs);
    for (const SatName& sat : group) left.erase(sat);
    if (group.size() > best.size()) best = group;
  }
  return best;
}

/// Unit numbers exp(2 pi i offset) of a connected group.
std::map<SatName, Complex> synchronise(const std::set<SatName>& group, const std::map<Pair, Complex>& pairs) {
  std::map<SatName, Complex> x, product;
  for (const SatName& sat : group) x[sat] = 1.0;
  for (int i = 0; i < kIterations; ++i) {
    // its own weight on the diagonal keeps the iteration from oscillating between two solutions
    for (const auto& [sat, value] : x) product[sat] = 0.0;
    for (const auto& [pair, sum] : pairs) {
      if (!group.contains(pair.first)) continue;
      product[pair.first] += sum * x[pair.second] + std::abs(sum) * x[pair.first];
      product[pair.second] += std::conj(sum) * x[pair.first] + std::abs(sum) * x[pair.second];
    }
    double change = 0.0;
    for (auto& [sat, value] : x) {
      const Complex next = std::abs(product[sat]) > 0.0 ? product[sat] / std::abs(product[sat]) : value;
      change = std::max(change, std::abs(next - value));
      value = next;
    }
    if (change < 1.0e-12) break;
  }
  Complex mean = 0.0;
  for (const auto& [sat, value] : x) mean += value;
  if (std::abs(mean) > 0.0)
    for (auto& [sat, value] : x) value *= std::conj(mean) / std::abs(mean);
  return x;
}

void addOffsets(PhaseOffsets& offsets, const std::map<Pair, Complex>& pairs) {
  const std::map<SatName, Complex> x = synchronise(largestGroup(pairs), pairs);
  for (const auto& [sat, value] : x) offsets[sat].cycles = cyclesOf(value);
  for (const auto& [pair, sum] : pairs) {
    const auto a = x.find(pair.first), b = x.find(pair.second);
    if (a == x.end()) continue;
    const double left = cyclesOf(sum * std::conj(a->second) * b->second);
    for (const SatName& sat : {pair.first, pair.second}) {
      offsets[sat].rms += left * left;
      ++offsets[sat].arcs;
    }
  }
}

}  // namespace

std::vector<NarrowLane> readNarrowLanes(const std::filesystem::path& directory,
                                        const std::optional<GpsTime>& from,
                                        const std::optional<GpsTime>& to) {
  const auto file = directory / "diagnostics.log";
  DiagnosticsReader line(file);
  if (!line.opened())
    throw InputError(file.string(), 0, "cannot be read; give the directory of a run with --fix");
  std::vector<NarrowLane> floats;
  while (line.next()) {
    if (line.tag() != "INT" || line.size() < 9 || line.word(6) != "n1") continue;
    const auto cycles = line.real(8);
    const auto sat = parseSat(line.word(4)), reference = parseSat(line.word(5));
    if (!cycles || !sat || !reference) continue;
    if ((from && line.time() < *from) || (to && *to < line.time())) continue;
    floats.push_back({line.time(), *sat, *reference, *cycles});
  }
  if (floats.empty())
    throw InputError(file.string(), 0,
                     "holds no narrow-lane ambiguity in the chosen time; run 'gnx replay' with --fix and "
                     "--details 300");
  return floats;
}

PhaseOffsets narrowLaneOffsets(const std::vector<NarrowLane>& floats, double settled_s) {
  Ages ages;
  std::map<char, std::map<Pair, Complex>> sums;
  for (const NarrowLane& f : floats) {
    const double age = std::min(ages.at(f.satellite, f.time), ages.at(f.reference, f.time));
    if (age < settled_s || f.satellite == f.reference) continue;
    const bool ordered = f.satellite < f.reference;
    const Pair pair = ordered ? Pair{f.satellite, f.reference} : Pair{f.reference, f.satellite};
    sums[f.satellite[0]][pair] += age * onCircle(ordered ? f.cycles : -f.cycles);
  }
  PhaseOffsets offsets;
  for (const auto& [system, pairs] : sums) addOffsets(offsets, pairs);
  for (auto& [sat, offset] : offsets) {
    offset.rms = std::sqrt(offset.rms / std::max(offset.arcs, 1));
    offset.cycles += 0.0;  // no "-0.000"
  }
  return offsets;
}

}  // namespace gnx
