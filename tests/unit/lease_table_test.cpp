// Nodes that share items through a bucket: who gets what, and what becomes of it when one of them falls
// silent.

#include "fleet/cluster/lease_table.h"

#include <gtest/gtest.h>

#include <memory>

namespace gnx::test {
namespace {

using std::chrono::milliseconds;
using Time = LeaseTable::Time;

/// A bucket as servers keep it, and the time.
struct World {
  std::map<std::string, std::pair<std::string, std::uint64_t>> bucket;
  std::uint64_t revision = 0;
  Time now{std::chrono::hours(1)};
};

/// A node and its way to the servers, which may be cut.
class Node {
 public:
  Node(World& world, const std::string& name, double weight = 2.0)
      : m_world(world), m_table(name, weight, {}, world.now) {}

  void want(int stations) {
    std::set<std::string> keys = {"stream.EPH"};
    for (int i = 0; i < stations; ++i) keys.insert("station.S" + std::to_string(i));
    m_table.want(keys);
  }

  void turn() {
    if (cut) return;
    m_table.beginReading();
    for (const auto& [key, item] : m_world.bucket)
      if (!m_table.see(key, item.first, item.second, m_world.now)) twin = true;
    m_table.endReading();
    lost += m_table.takeLost().size();
    m_world.bucket[m_table.beatKey()] = {m_table.beat(), ++m_world.revision};
    m_table.beaten(m_world.now, m_world.revision);
    for (const LeaseTable::Step& step : m_table.steps(m_world.now)) {
      const auto seen = m_world.bucket.find(step.key);
      if ((seen == m_world.bucket.end() ? 0 : seen->second.second) != step.revision) continue;
      m_world.bucket[step.key] = {step.value, ++m_world.revision};
      m_table.done(step, m_world.revision, m_world.now);
    }
  }
  std::size_t stations() const { return m_table.held().size() - m_table.held().count("stream.EPH"); }
  bool mayPublish() const { return m_table.alive(m_world.now); }
  const LeaseTable& table() const { return m_table; }

  bool cut = false, twin = false;
  std::size_t lost = 0;

 private:
  World& m_world;
  LeaseTable m_table;
};

class Leases : public testing::Test {
 protected:
  Node& add(const std::string& name, double weight = 2.0) {
    m_nodes.push_back(std::make_unique<Node>(world, name, weight));
    m_nodes.back()->want(kStations);
    return *m_nodes.back();
  }
  /// No station is ever published by two.
  void run(double seconds) {
    for (const Time end = world.now + milliseconds(static_cast<int>(seconds * 1000.0)); world.now < end;) {
      world.now += milliseconds(250);
      for (const auto& node : m_nodes) node->turn();
      std::map<std::string, int> publishers;
      for (const auto& node : m_nodes)
        if (node->mayPublish())
          for (const auto& [key, lease] : node->table().held()) ++publishers[key];
      for (const auto& [key, count] : publishers) ASSERT_EQ(count, 1) << key;
      running = publishers.size();
    }
  }
  static constexpr int kStations = 30;
  World world;
  std::size_t running = 0;  ///< items that somebody publishes
  std::vector<std::unique_ptr<Node>> m_nodes;
};

TEST_F(Leases, NodesShareByTheirWeightAndTakeOverWhatASilentOneHad) {
  Node &a = add("a"), &b = add("b"), &c = add("c", 4.0);
  run(5.0);
  EXPECT_EQ(running, kStations + 1U);
  EXPECT_NEAR(static_cast<double>(a.stations()), 7.5, 1.0);
  EXPECT_NEAR(static_cast<double>(b.stations()), 7.5, 1.0);
  EXPECT_NEAR(static_cast<double>(c.stations()), 15.0, 1.0);

  c.cut = true;
  run(4.75);
  EXPECT_TRUE(c.mayPublish()) << "a short silence costs nothing";
  run(5.0);
  EXPECT_EQ(running, kStations + 1U) << "taken over within ten seconds";
  EXPECT_FALSE(c.mayPublish());
  EXPECT_GT(c.stations(), 10U) << "it does not know";

  c.cut = false;
  run(0.25);
  EXPECT_GT(c.lost, 10U);
  EXPECT_EQ(c.stations(), 0U);
  run(200.0);
  EXPECT_GE(c.stations(), 13U) << "it gets its share again, bit by bit";
  EXPECT_EQ(running, kStations + 1U);
}

TEST_F(Leases, ANodeThatBeginsAgainUnderItsNameTakesWhatItHad) {
  Node& a = add("a");
  run(4.0);
  EXPECT_EQ(a.stations(), 30U);
  m_nodes.clear();  // killed
  Node& again = add("a");
  run(4.0);
  EXPECT_EQ(again.stations(), 30U);
  EXPECT_FALSE(again.twin);
  Node& twin = add("a");
  run(1.0);
  EXPECT_TRUE(twin.twin || again.twin) << "two processes of one name are told";
}

TEST_F(Leases, AnOutageOfTheServersTakesNothingFromAnybody) {
  Node &a = add("a"), &b = add("b");
  run(5.0);
  const auto before = a.table().held();
  a.cut = b.cut = true;
  run(60.0);
  EXPECT_FALSE(a.mayPublish());
  a.cut = b.cut = false;
  run(1.0);
  EXPECT_EQ(a.table().held(), before);
  EXPECT_EQ(running, kStations + 1U);
}

}  // namespace
}  // namespace gnx::test
