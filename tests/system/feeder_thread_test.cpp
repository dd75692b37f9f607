// Two threads feed ephemerides, corrections and biases while the epoch thread runs: a test for
// ThreadSanitizer, and of what the host sees without it.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <thread>

#include "support/faulty_run.h"

namespace {

using support::SimulatedSky;

/// One feeder: hands over batch by batch, up to five minutes ahead of the epochs and never behind.
class Feeder {
 public:
  using Step = std::function<void(gnx::ProductFeed&, const gnx::CorrectionBatch&)>;
  Feeder(const SimulatedSky& sky, const support::HostSetup& host, const std::atomic<double>& epochTime,
         Step step)
      : m_thread([this, &sky, &host, &epochTime, step = std::move(step)] {
          gnx::ProductFeed out = host.products();
          for (const gnx::CorrectionBatch& batch : sky.corrections) {
            const double t = batch.tag - sky.start();
            while (epochTime + 300.0 < t) std::this_thread::yield();
            step(out, batch);
            m_upTo = t;
          }
        }) {}
  ~Feeder() { m_thread.join(); }
  Feeder(const Feeder&) = delete;
  Feeder& operator=(const Feeder&) = delete;
  void await(double t) const {
    while (m_upTo < t) std::this_thread::yield();
  }

 private:
  std::atomic<double> m_upTo{-1.0};
  std::thread m_thread;
};

constexpr double kRestart = 630.0;

/// The host with its three threads. Ends the process by exit(), so that a sanitizer may speak in its status.
void runHost(const SimulatedSky& sky) {
  const support::HostSetup host(sky);
  host.start({});
  {
    std::atomic<double> epochTime{0.0};
    auto message = sky.messages.begin();
    const Feeder products(sky, host, epochTime, [&](gnx::ProductFeed& out, gnx::CorrectionBatch batch) {
      for (; message != sky.messages.end() && message->transmission <= batch.tag; ++message)
        out.feed(*message);
      batch.newBiases = false;
      out.feed(batch);
    });
    const Feeder biases(sky, host, epochTime, [&](gnx::ProductFeed& out, gnx::CorrectionBatch batch) {
      batch.orbitClock.clear();
      out.feed(batch);
      out.feed(sky.messages.front());  // another source of what is there already
    });
    gnx::ObservationFeed observations = host.observations();
    for (const gnx::ObsEpoch& epoch : sky.epochs) {
      const double t = epoch.time - sky.start();
      host.setClock(t);
      epochTime = t;
      products.await(t);
      biases.await(t);
      if (t == kRestart) GNX_restart();
      observations.feed(epoch);
    }
  }
  GNX_finilize();
  std::exit(0);
}

// Each epoch finds the batch of its own time among others: the positions are those of one thread.
TEST(FeederThreads, GiveThePositionsOfOneThread) {
  const SimulatedSky sky({.hours = 0.4, .clock = {}});
  support::Faults restart;
  restart.before = [](double t) {
    if (t == kRestart) GNX_restart();
  };
  const support::FaultyRun single(sky, restart);
  EXPECT_LT(single.error(sky.site, 1200.0), 0.5);

  const support::TemporaryDirectory directory;
  support::HostSetup::write(directory.path(), sky, {});
  const support::ChildResult child = support::runInChild([&] {
    std::filesystem::current_path(directory.path());
    runHost(sky);
  });
  ASSERT_EQ(child.status, 0) << child.output.substr(0, 3000);
  std::vector<std::array<double, 3>> positions;
  std::istringstream output(child.output);
  for (std::string line; std::getline(output, line);) {
    if (const auto epoch = gnx::parseSolutionLine(line)) positions.push_back(epoch->xyz);
  }
  ASSERT_EQ(positions.size(), single.epochs.size());
  for (std::size_t k = 0; k < positions.size(); ++k) ASSERT_EQ(positions[k], single.epochs[k].xyz) << k;
}

}  // namespace
