#pragma once
/// \file lease_table.h
/// Who works on what, decided from what a bucket of keys and values says. No clock and no connection of its
/// own.
///
/// Two kinds of keys: "node.NAME", which a node writes anew all the time, and "station.NAME" or
/// "stream.NAME", which hold the name of the node that has it, "" for none. An item whose node is silent
/// belongs to nobody. Whoever changes a key names the revision that he saw: of two who want an item one gets
/// it, and its revision is the number of the lease.

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace gnx {

/// Times of leases, s.
struct LeaseTimes {
  double lease_s = 5.0;   ///< a node that could not write for so long has lost what it had
  double dead_s = 6.0;    ///< a node that others have not heard of for so long is gone; longer than the lease
  double settle_s = 2.5;  ///< a node that begins looks around for so long
  double patience_s = 3.0;   ///< so long an item waits for a node that has less to do
  double rebalance_s = 5.0;  ///< between two items that a node with too many gives away
};

class LeaseTable {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;

  /// \param weight  of this node: one with twice the weight takes twice the items
  LeaseTable(std::string node, double weight, const LeaseTimes& times, Time now);

  /// Which keys there are to share.
  void want(const std::set<std::string>& keys);

  // ---- what the bucket says ----

  /// Everything is read again from here on.
  void beginReading() { m_stale = m_entries; }
  /// A key has this value. \return false when another process writes under this node's name
  bool see(const std::string& key, const std::string& value, std::uint64_t revision, Time now);
  void forget(const std::string& key) { m_entries.erase(key); }
  void endReading();

  // ---- what this node does ----

  /// What it writes under "node.NAME".
  std::string beat() const;
  std::string beatKey() const { return "node." + m_node; }
  /// It was written; that was begun at a time.
  void beaten(Time begun, std::uint64_t revision);
  /// Until when the others take this node for alive, whatever happens.
  Time aliveUntil() const;
  /// Whether others still take this node for alive.
  bool alive(Time now) const { return now < aliveUntil(); }

  struct Step {
    std::string key, value;
    std::uint64_t revision = 0;  ///< seen before; 0 = there was no such key
  };
  /// What is to be tried now: items to take, items to give away.
  std::vector<Step> steps(Time now);
  /// A step succeeded.
  void done(const Step& step, std::uint64_t revision, Time now);

  /// Leases by key. What is gone since the last look is not among them.
  const std::map<std::string, std::uint64_t>& held() const { return m_held; }
  /// Drops leases that others have taken. Meant for when the bucket was read after a silence.
  std::vector<std::string> takeLost();

  /// Name of the node that has an item, "" for none.
  std::string ownerOf(const std::string& key) const;
  std::size_t nodesAlive(Time now) const { return nodes(now).size(); }

 private:
  struct Entry {
    std::string value;
    std::uint64_t revision = 0;
    Time changed;
  };
  using Entries = std::map<std::string, Entry>;
  using Weights = std::map<std::string, double>;  ///< by node

  Weights nodes(Time now) const;
  bool isFree(const std::string& key, const Weights& nodes) const;
  void stepsOf(const std::string& kind, Time now, const Weights& nodes, std::vector<Step>& steps);
  void giveAway(const std::string& kind, std::size_t share, Time now, std::vector<Step>& steps);
  std::size_t heldOf(const std::string& kind) const;

  std::string m_node;
  double m_weight;
  LeaseTimes m_times;
  Time m_begun, m_givenAway;
  std::string m_instance;
  std::optional<Time> m_beaten;
  std::uint64_t m_beat = 0;  ///< its revision
  std::set<std::string> m_wanted;
  Entries m_entries, m_stale;
  std::map<std::string, std::uint64_t> m_held;
  std::map<std::string, Time> m_freeSince, m_heldSince;
};

}  // namespace gnx
