// Shares items among nodes.

#include "fleet/cluster/lease_table.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <utility>

#include "text/fields.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kStepsAtOnce = 20;  ///< so that nodes that begin together share alike
constexpr double kUneven = 1.1;           ///< a node with so much more than its share gives away

const std::string kNode = "node.";

LeaseTable::Clock::duration seconds(double s) {
  return std::chrono::duration_cast<LeaseTable::Clock::duration>(std::chrono::duration<double>(s));
}

/// "instance weight": the instance tells two processes of one name apart.
struct Beat {
  std::string instance;
  double weight = 1.0;
};
Beat parseBeat(const std::string& value) {
  std::vector<std::string_view> words;
  split(value, words);
  if (words.size() != 2) return {};
  return {std::string(words[0]), parseReal(words[1]).value_or(1.0)};
}

}  // namespace

LeaseTable::LeaseTable(std::string node, double weight, const LeaseTimes& times, Time now)
    : m_node(std::move(node)), m_weight(weight), m_times(times), m_begun(now), m_givenAway(now) {
  std::random_device random;
  m_instance = printed("%08x%08x", random(), random());
}

void LeaseTable::want(const std::set<std::string>& keys) { m_wanted = keys; }

bool LeaseTable::see(const std::string& key, const std::string& value, std::uint64_t revision, Time now) {
  const bool first = m_stale.erase(key) > 0;
  Entry& entry = m_entries[key];
  if (!first && revision < entry.revision) return true;  // on its way since before this node wrote
  if (entry.revision != revision) entry = {value, revision, now};
  return key != beatKey() || revision <= m_beat || parseBeat(value).instance == m_instance || !m_beaten;
}

void LeaseTable::endReading() {
  for (const auto& [key, entry] : std::exchange(m_stale, {})) m_entries.erase(key);
}

std::string LeaseTable::beat() const { return m_instance + printed(" %.3g", m_weight); }

/// A node that was out of reach itself cannot say who else was silent.
void LeaseTable::beaten(Time begun, std::uint64_t revision) {
  if (!alive(begun))
    for (auto& [key, entry] : m_entries)
      if (key.starts_with(kNode)) entry.changed = begun;
  m_beaten = begun;
  m_beat = revision;
}

LeaseTable::Time LeaseTable::aliveUntil() const {
  return m_beaten ? *m_beaten + seconds(m_times.lease_s) : Time{};
}

/// All that are alive, this one included.
LeaseTable::Weights LeaseTable::nodes(Time now) const {
  Weights alive;
  for (const auto& [key, entry] : m_entries)
    if (key.starts_with(kNode) && now - entry.changed < seconds(m_times.dead_s))
      alive[key.substr(kNode.size())] = parseBeat(entry.value).weight;
  alive[m_node] = m_weight;
  return alive;
}

bool LeaseTable::isFree(const std::string& key, const Weights& nodes) const {
  const auto entry = m_entries.find(key);
  if (entry == m_entries.end() || entry->second.value.empty()) return true;
  return entry->second.value == m_node || !nodes.contains(entry->second.value);
}

std::size_t LeaseTable::heldOf(const std::string& kind) const {
  return static_cast<std::size_t>(
      std::ranges::count_if(m_held, [&](const auto& item) { return item.first.starts_with(kind); }));
}

std::vector<LeaseTable::Step> LeaseTable::steps(Time now) {
  std::vector<Step> steps;
  if (!alive(now) || now - m_begun < seconds(m_times.settle_s)) return steps;
  for (const auto& [key, revision] : m_held)
    if (!m_wanted.contains(key)) steps.push_back({key, "", revision});
  const auto alive = nodes(now);
  for (const char* kind : {"stream.", "station."}) stepsOf(kind, now, alive, steps);
  return steps;
}

void LeaseTable::stepsOf(const std::string& kind, Time now, const Weights& nodes, std::vector<Step>& steps) {
  double weights = 0.0;
  for (const auto& [name, weight] : nodes) weights += weight;
  std::vector<std::string> free;
  std::size_t all = 0;
  for (auto key = m_wanted.lower_bound(kind); key != m_wanted.end() && key->starts_with(kind); ++key) {
    ++all;
    if (m_held.contains(*key) || !isFree(*key, nodes)) m_freeSince.erase(*key);
    else free.push_back(*key);
  }
  const auto share = static_cast<std::size_t>(std::ceil(static_cast<double>(all) * m_weight / weights));
  // Each node begins with others, so that two seldom want the same.
  const std::hash<std::string> hash;
  std::ranges::sort(free, {}, [&](const std::string& key) { return hash(m_node + key); });
  std::size_t mine = heldOf(kind);
  for (const std::string& key : free) {
    const Time since = m_freeSince.try_emplace(key, now).first->second;
    const bool waited = now - since > seconds(m_times.patience_s);
    if (steps.size() >= kStepsAtOnce || (mine >= share && !waited)) continue;
    const auto entry = m_entries.find(key);
    steps.push_back({key, m_node, entry == m_entries.end() ? 0 : entry->second.revision});
    ++mine;
  }
  if (free.empty()) giveAway(kind, share, now, steps);
}

/// One item to a node that has less than its share, now and then; the youngest, which has least to lose.
void LeaseTable::giveAway(const std::string& kind, std::size_t share, Time now, std::vector<Step>& steps) {
  const std::size_t mine = heldOf(kind);
  if (static_cast<double>(mine) <
      std::max(static_cast<double>(share) * kUneven, static_cast<double>(share) + 1.0))
    return;
  if (now - m_givenAway < seconds(m_times.rebalance_s)) return;
  m_givenAway = now;
  const auto youngest = std::ranges::max_element(m_held, {}, [&](const auto& item) {
    return std::pair(item.first.starts_with(kind), m_heldSince[item.first]);
  });
  steps.push_back({youngest->first, "", youngest->second});
}

void LeaseTable::done(const Step& step, std::uint64_t revision, Time now) {
  m_entries[step.key] = {step.value, revision, now};
  m_freeSince.erase(step.key);
  if (step.value.empty()) {
    m_held.erase(step.key);
    // The others have the first go at it.
    m_freeSince[step.key] = now;
    return;
  }
  m_held[step.key] = revision;
  m_heldSince[step.key] = now;
}

std::vector<std::string> LeaseTable::takeLost() {
  std::vector<std::string> lost;
  for (const auto& [key, revision] : m_held) {
    const auto entry = m_entries.find(key);
    if (entry == m_entries.end() || entry->second.revision != revision) lost.push_back(key);
  }
  for (const std::string& key : lost) m_held.erase(key);
  return lost;
}

std::string LeaseTable::ownerOf(const std::string& key) const {
  const auto entry = m_entries.find(key);
  return entry == m_entries.end() ? "" : entry->second.value;
}

}  // namespace gnx
