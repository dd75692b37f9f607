// Two threads feed ephemerides, corrections and biases while the epoch thread runs: a test for
// ThreadSanitizer, and of what the host sees without it.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <optional>
#include <thread>

#include "support/faulty_run.h"

namespace {

using support::FaultyRun;
using support::HostSetup;
using support::SimulatedSky;

/// One feeder: hands over batch by batch, up to five minutes ahead of the epochs and never behind.
class Feeder {
 public:
  using Step = std::function<void(gnx::ProductFeed&, const gnx::CorrectionBatch&)>;
  Feeder(const SimulatedSky& sky, const HostSetup& host, const std::atomic<double>& epochTime, Step step)
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

// Each epoch finds the batch of its own time among others: the positions are those of one thread.
TEST(FeederThreads, GiveThePositionsOfOneThread) {
  const SimulatedSky sky({.hours = 0.4, .clock = {}});
  const double last = sky.epochs.back().time - sky.start();
  const auto restart = [](double t) {
    if (t == 630.0) GNX_restart();
  };
  support::Faults one;
  one.before = restart;
  const FaultyRun single(sky, one);
  EXPECT_LT(single.error(sky.site, 1200.0), 0.5);

  std::optional<HostSetup> host;
  std::optional<Feeder> products, biases;
  std::atomic<double> epochTime{0.0};
  auto message = sky.messages.begin();
  support::Faults three;
  three.productsFromElsewhere = true;
  three.before = [&](double t) {
    epochTime = t;
    if (!host) {
      host.emplace(sky);
      products.emplace(sky, *host, epochTime, [&](gnx::ProductFeed& out, gnx::CorrectionBatch batch) {
        for (; message != sky.messages.end() && message->transmission <= batch.tag; ++message)
          out.feed(*message);
        batch.newBiases = false;
        out.feed(batch);
      });
      biases.emplace(sky, *host, epochTime, [&](gnx::ProductFeed& out, gnx::CorrectionBatch batch) {
        batch.orbitClock.clear();
        out.feed(batch);
        out.feed(sky.messages.front());  // another source of what is there already
      });
    }
    products->await(t);
    biases->await(t);
    restart(t);
    if (t < last) return;
    products.reset();
    biases.reset();
  };
  const FaultyRun run(sky, three);
  ASSERT_EQ(run.epochs.size(), single.epochs.size());
  for (std::size_t k = 0; k < run.epochs.size(); ++k) ASSERT_EQ(run.epochs[k].xyz, single.epochs[k].xyz) << k;
}

}  // namespace
