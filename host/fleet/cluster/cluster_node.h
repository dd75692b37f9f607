#pragma once
/// \file cluster_node.h
/// This machine among those that share the stations: which of them it has, and what it publishes.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "fleet/cluster/cluster_link.h"
#include "fleet/cluster/lease_table.h"

namespace gnx {

class ClusterNode {
 public:
  using Say = std::function<void(const std::string& sentence)>;
  using Take = std::function<void(ClusterLink::Bytes bytes)>;

  /// \param wake  called from any thread when leases have changed
  ClusterNode(const ClusterOptions& options, Say say, std::function<void()> wake);
  /// Gives everything away that it still has.
  ~ClusterNode();
  ClusterNode(const ClusterNode&) = delete;
  ClusterNode& operator=(const ClusterNode&) = delete;

  const std::string& name() const { return m_name; }
  /// Keys that are to be shared: "station.NAME", "stream.NAME".
  void want(std::set<std::string> keys);
  /// Only what this machine has already; it is about to end.
  void wantNoMore();
  /// Leases that this machine has, their numbers by key. It has them until it knows better; while the servers
  /// are out of reach it publishes nothing.
  std::map<std::string, std::uint64_t> held() const;
  /// Leases whose work is to go on: without stations that are about to be given away.
  std::map<std::string, std::uint64_t> wanted() const;
  /// Stations that are about to be given away: as soon as their workers have ended.
  std::vector<std::string> parting() const;
  /// The worker of one has ended and its last state is kept: another node may have it.
  void letGo(const std::string& key);
  std::string ownerOf(const std::string& key) const;

  /// Bytes of a stream that others read too; lost while the servers are out of reach.
  void publish(const std::string& subject, ClusterLink::Bytes bytes);
  /// `take` is called from any thread.
  void listen(const std::string& subject, Take take);
  void endListening(const std::string& subject);

  /// A result under a lease. It waits while nothing may be published, and is dropped when the lease is gone.
  /// \param id  the same result is kept once
  void result(const std::string& key, const std::string& subject, std::string text, std::string id);

  /// What the station of a lease knows, for a node that takes it; lost while nothing may be published.
  void keepState(const std::string& key, std::string state);
  /// What was known of it when this node took the lease; once.
  std::optional<std::string> knownState(const std::string& key);

  struct Counts {
    std::int64_t published = 0, dropped = 0, refused = 0;
    std::size_t waiting = 0, nodes = 0;
    bool connected = false;
  };
  Counts counts() const;

 private:
  using Clock = LeaseTable::Clock;
  struct Result {
    std::string key, subject, text, id;
    std::uint64_t lease = 0;
    int attempts = 0;
  };

  void run();
  void connect();
  void turn(ClusterLink& link);
  void read(ClusterLink& link);
  void takeSteps(ClusterLink& link);
  bool mayGo(const LeaseTable::Step& step);
  void fetchState(ClusterLink& link, const std::string& key);
  void sendStates(ClusterLink& link);
  void pump();
  void answered(Result result, bool taken, const std::string& why);
  void leave();
  void tell(const std::string& what);

  ClusterOptions m_options;
  std::string m_name;
  Say m_say;
  std::function<void()> m_wake;
  mutable std::mutex m_mutex;  ///< of all below but the thread's own
  std::condition_variable m_news;
  LeaseTable m_table;
  std::shared_ptr<ClusterLink> m_link;
  std::map<std::string, Take> m_listeners;
  std::deque<Result> m_results;
  std::map<std::string, std::string> m_toKeep, m_known;  ///< states by key, to be sent and fetched
  /// A station that is to be given away, since when, and whether its worker has ended.
  struct Parting {
    LeaseTable::Step step;
    Clock::time_point since;
    bool ended = false;
  };
  std::map<std::string, Parting> m_parting;
  std::size_t m_resultBytes = 0, m_inFlight = 0;
  Clock::time_point m_mayPublish{};  ///< until then
  Counts m_counts;
  bool m_stop = false;
  // the thread's own
  bool m_reading = false;
  int m_connections = 0;
  Clock::time_point m_watched{}, m_beaten{};
  std::string m_last;  ///< what was said last
  std::thread m_thread;
};

}  // namespace gnx
