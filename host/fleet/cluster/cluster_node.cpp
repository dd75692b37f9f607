// Keeps leases, publishes under them.

#include "fleet/cluster/cluster_node.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

#include "flow/back_off.h"
#include "gnx/error.h"
#include "link/connection.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr auto kTurn = std::chrono::milliseconds(250);
constexpr auto kBeat = std::chrono::seconds(1);
constexpr auto kReadAgain = std::chrono::seconds(30);
constexpr std::size_t kMostInFlight = 1000, kMostBytes = std::size_t{64} << 20;
constexpr int kMostAttempts = 20;
constexpr std::string_view kStation = "station.";         ///< keys that have states
constexpr auto kParting = std::chrono::seconds(3);        ///< for a worker to end
constexpr auto kLeave = std::chrono::milliseconds(1500);  ///< for results that wait

std::string nameOfThis() {
  std::array<char, 256> host{};
  gethostname(host.data(), host.size() - 1);
  std::string name = host.data();
  for (char& c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-') c = '_';
  return name + "-" + std::to_string(getpid());
}

/// The station of a key; "" for a key of another kind.
std::string stationOf(const std::string& key) {
  return key.starts_with(kStation) ? key.substr(kStation.size()) : "";
}

double weightOfThis() { return std::max(1U, std::thread::hardware_concurrency()); }

}  // namespace

ClusterNode::ClusterNode(const ClusterOptions& options, Say say, std::function<void()> wake)
    : m_options(options),
      m_name(options.node.empty() ? nameOfThis() : options.node),
      m_say(std::move(say)),
      m_wake(std::move(wake)),
      m_table(m_name, weightOfThis(), {}, Clock::now()),
      m_thread([this] { run(); }) {}

ClusterNode::~ClusterNode() {
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  m_news.notify_all();
  m_thread.join();
  m_link.reset();  // its threads answer for results
}

void ClusterNode::tell(const std::string& what) {
  if (m_last != what) m_say("node " + m_name + ": " + what);
  m_last = what;
}

void ClusterNode::want(std::set<std::string> keys) {
  const std::lock_guard lock(m_mutex);
  m_table.want(keys);
}

void ClusterNode::wantNoMore() {
  const std::lock_guard lock(m_mutex);
  std::set<std::string> keys;
  for (const auto& [key, lease] : m_table.held()) keys.insert(key);
  m_table.want(keys);
}

std::map<std::string, std::uint64_t> ClusterNode::held() const {
  const std::lock_guard lock(m_mutex);
  return m_table.held();
}

std::map<std::string, std::uint64_t> ClusterNode::wanted() const {
  const std::lock_guard lock(m_mutex);
  std::map<std::string, std::uint64_t> wanted = m_table.held();
  for (const auto& [key, parting] : m_parting) wanted.erase(key);
  return wanted;
}

std::vector<std::string> ClusterNode::parting() const {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> keys;
  for (const auto& [key, parting] : m_parting)
    if (!parting.ended) keys.push_back(key);
  return keys;
}

void ClusterNode::letGo(const std::string& key) {
  const std::lock_guard lock(m_mutex);
  if (const auto parting = m_parting.find(key); parting != m_parting.end()) parting->second.ended = true;
}

std::string ClusterNode::ownerOf(const std::string& key) const {
  const std::lock_guard lock(m_mutex);
  return m_table.ownerOf(key);
}

ClusterNode::Counts ClusterNode::counts() const {
  const std::lock_guard lock(m_mutex);
  Counts counts = m_counts;
  counts.waiting = m_results.size() + m_inFlight;
  counts.nodes = m_table.nodesAlive(Clock::now());
  counts.connected = m_link && m_link->connected();
  return counts;
}

// ---- the thread ----

void ClusterNode::run() {
  BackOff pauses;
  std::unique_lock lock(m_mutex);
  while (!m_stop) {
    lock.unlock();
    std::chrono::duration<double> pause = kTurn;
    try {
      if (!m_link) connect();
      turn(*m_link);
      pump();
      pauses.reset();
    } catch (const ConnectionError& e) {
      tell(std::string("the servers ") + e.what() + "; it is tried again");
      if (!m_link) pause = std::chrono::duration<double>(std::min(pauses.next(), 5.0));
    } catch (const UsageError& e) {
      tell(e.what());
      pause = std::chrono::seconds(5);
    }
    lock.lock();
    m_news.wait_for(lock, pause, [this] { return m_stop; });
  }
  lock.unlock();
  if (m_link) leave();
}

void ClusterNode::connect() {
  std::shared_ptr<ClusterLink> link = connectCluster(m_options);
  const std::lock_guard lock(m_mutex);
  for (const auto& [subject, take] : m_listeners) link->listen(subject, take);
  m_link = std::move(link);
  tell("is connected to the servers");
}

void ClusterNode::turn(ClusterLink& link) {
  read(link);
  const auto now = Clock::now();
  if (now - m_beaten >= kBeat) {
    std::string beat;
    {
      const std::lock_guard lock(m_mutex);
      beat = m_table.beat();
    }
    const std::uint64_t revision = link.write(m_table.beatKey(), beat);
    const std::lock_guard lock(m_mutex);
    m_table.beaten(m_beaten = now, revision);
  }
  if (m_reading) return;
  {
    const std::lock_guard lock(m_mutex);
    m_mayPublish = m_table.aliveUntil();
  }
  tell("is at work");
  takeSteps(link);
  sendStates(link);
}

/// The bucket is read again when this node may have been taken for dead, and now and then.
void ClusterNode::read(ClusterLink& link) {
  const auto now = Clock::now();
  const bool again =
      link.connections() != m_connections || now - m_watched > kReadAgain || now > m_mayPublish;
  if (again && (!m_reading || now - m_watched > kReadAgain / 10)) {
    m_connections = link.connections();
    link.watch();
    m_watched = now;
    m_reading = true;
    const std::lock_guard lock(m_mutex);
    m_table.beginReading();
  }
  std::vector<std::string> lost;
  {
    const std::lock_guard lock(m_mutex);
    while (const auto change = link.next()) {
      if (change->kind == ClusterLink::Change::Kind::gone) m_table.forget(change->key);
      else if (change->kind == ClusterLink::Change::Kind::all) m_table.endReading(), m_reading = false;
      else if (!m_table.see(change->key, change->value, change->revision, Clock::now()))
        throw UsageError("another process is a node of this name; give each one its own");
    }
    if (!m_reading) lost = m_table.takeLost();
  }
  for (const std::string& key : lost) m_say("node " + m_name + ": " + key + " was taken by another node");
  if (!lost.empty()) m_wake();
}

void ClusterNode::takeSteps(ClusterLink& link) {
  std::vector<LeaseTable::Step> steps;
  const std::size_t partings = m_parting.size();
  {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_parting, [this](const auto& item) { return !m_table.held().contains(item.first); });
    for (const LeaseTable::Step& step : m_table.steps(Clock::now()))
      if (!m_parting.contains(step.key) && mayGo(step)) steps.push_back(step);
    for (const auto& [key, parting] : m_parting)
      if (parting.ended || Clock::now() - parting.since > kParting) steps.push_back(parting.step);
  }
  if (steps.empty() && m_parting.size() == partings) return;
  sendStates(link);  // those of stations that go
  for (const LeaseTable::Step& step : steps) {
    const auto revision = link.write(step.key, step.value, step.revision);
    if (!revision) continue;  // somebody was first; the bucket will tell
    m_say("node " + m_name + (step.value.empty() ? " gives away " : " takes ") + step.key);
    if (!step.value.empty()) fetchState(link, step.key);
    const std::lock_guard lock(m_mutex);
    m_parting.erase(step.key);
    m_table.done(step, *revision, Clock::now());
  }
  m_wake();
}

/// A station is given away when its worker has ended, so that it goes on elsewhere with all it knew.
bool ClusterNode::mayGo(const LeaseTable::Step& step) {
  if (!step.value.empty() || stationOf(step.key).empty()) return true;
  m_parting[step.key] = {step, Clock::now()};
  return false;
}

/// Before the lease is told, for its worker starts at once. Without an answer the station begins anew.
void ClusterNode::fetchState(ClusterLink& link, const std::string& key) {
  if (stationOf(key).empty()) return;
  try {
    if (auto state = link.stateOf(stationOf(key))) {
      const std::lock_guard lock(m_mutex);
      m_known[key] = std::move(*state);
    }
  } catch (const ConnectionError& e) {
    tell(std::string("the servers ") + e.what() + "; " + key + " begins anew");
  }
}

void ClusterNode::sendStates(ClusterLink& link) {
  while (true) {
    std::map<std::string, std::string>::node_type next;
    {
      const std::lock_guard lock(m_mutex);
      if (m_toKeep.empty() || Clock::now() >= m_mayPublish) return;
      next = m_toKeep.extract(m_toKeep.begin());
      if (!m_table.held().contains(next.key())) continue;
    }
    if (!link.keepState(stationOf(next.key()), next.mapped()))
      tell("the state of " + next.key() +
           " is more than the servers take; it does not move with the station");
  }
}

/// In order: results first, then what others may take at once.
void ClusterNode::leave() {
  const auto until = Clock::now() + kLeave;
  try {
    while (Clock::now() < until && counts().waiting > 0) {
      pump();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    sendStates(*m_link);
    for (const auto& [key, lease] : held()) m_link->write(key, "", lease);
    m_link->erase(m_table.beatKey());
  } catch (const ConnectionError&) {  // they will find out by themselves
  }
}

// ---- what is published ----

void ClusterNode::publish(const std::string& subject, ClusterLink::Bytes bytes) {
  const std::lock_guard lock(m_mutex);
  if (!m_link) return;
  try {
    m_link->publish(subject, bytes);
  } catch (const ConnectionError&) {  // told by the thread
  }
}

void ClusterNode::listen(const std::string& subject, Take take) {
  const std::lock_guard lock(m_mutex);
  if (m_link) m_link->listen(subject, take);
  m_listeners[subject] = std::move(take);
}

void ClusterNode::endListening(const std::string& subject) {
  const std::lock_guard lock(m_mutex);
  m_listeners.erase(subject);
  if (m_link) m_link->endListening(subject);
}

void ClusterNode::result(const std::string& key, const std::string& subject, std::string text,
                         std::string id) {
  {
    const std::lock_guard lock(m_mutex);
    const auto lease = m_table.held().find(key);
    if (lease == m_table.held().end()) return void(++m_counts.dropped);
    text.insert(1, printed("\"node\":\"%s\",\"lease\":%llu,", m_name.c_str(),
                           static_cast<unsigned long long>(lease->second)));
    m_resultBytes += text.size();
    m_results.push_back({key, subject, std::move(text), std::move(id), lease->second});
    for (; m_resultBytes > kMostBytes; ++m_counts.dropped) {
      m_resultBytes -= m_results.front().text.size();
      m_results.pop_front();
    }
  }
  pump();
}

void ClusterNode::keepState(const std::string& key, std::string state) {
  const std::lock_guard lock(m_mutex);
  if (m_table.held().contains(key)) m_toKeep[key] = std::move(state);
}

std::optional<std::string> ClusterNode::knownState(const std::string& key) {
  const std::lock_guard lock(m_mutex);
  auto known = m_known.extract(key);
  if (known.empty()) return std::nullopt;
  return std::move(known.mapped());
}

void ClusterNode::pump() {
  const std::lock_guard lock(m_mutex);
  while (m_link && m_link->connected() && !m_results.empty() && m_inFlight < kMostInFlight &&
         Clock::now() < m_mayPublish) {
    Result result = std::move(m_results.front());
    m_results.pop_front();
    m_resultBytes -= result.text.size();
    const auto lease = m_table.held().find(result.key);
    if (lease == m_table.held().end() || lease->second != result.lease) {
      ++m_counts.dropped;
      continue;
    }
    ++m_inFlight;
    try {
      m_link->publishResult(
          result.subject, result.text, result.id,
          [this, result](bool taken, const std::string& why) { answered(result, taken, why); });
    } catch (const ConnectionError&) {
      --m_inFlight;
      m_resultBytes += result.text.size();
      m_results.push_front(std::move(result));
      return;
    }
  }
}

void ClusterNode::answered(Result result, bool taken, const std::string& why) {
  const std::lock_guard lock(m_mutex);
  --m_inFlight;
  if (taken) return void(++m_counts.published);
  if (++m_counts.refused == 1) m_say("node " + m_name + ": a result was refused: " + why);
  if (++result.attempts > kMostAttempts) return void(++m_counts.dropped);
  m_resultBytes += result.text.size();
  m_results.push_front(std::move(result));
}

}  // namespace gnx
