// Two threads feed ephemerides, corrections and biases while the epoch thread runs: a test for
// ThreadSanitizer, and of what the host sees without it.

#include <atomic>
#include <optional>
#include <thread>

#include "support/faulty_run.h"

namespace gnx::test {
namespace {

/// One feeder: hands over batch by batch, up to five minutes ahead of the epochs and never behind.
class Feeder {
 public:
  using Step = std::function<void(ProductFeed&, const CorrectionBatch&)>;
  Feeder(const SimulatedSky& sky, const HostSetup& host, const std::atomic<double>& epochTime, Step step)
      : m_thread([this, &sky, &host, &epochTime, step = std::move(step)] {
          LinkedBoundary boundary;
          ProductFeed out = host.products(boundary);
          for (const CorrectionBatch& batch : sky.corrections) {
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
  const SimulatedSky sky({.hours = 0.4});
  const double last = sky.epochs.back().time - sky.start();
  const auto restart = [](double t) {
    if (t == 630.0) GNX_restart();
  };
  const FaultyRun single(sky, {.before = restart});
  EXPECT_LT(single.error(sky.site, 1200.0), 0.5);

  std::optional<HostSetup> host;
  std::optional<Feeder> products, biases;
  std::atomic<double> epochTime{0.0};
  auto message = sky.messages.begin();
  const auto await = [&](double t) {
    epochTime = t;
    if (!host) {
      host.emplace(sky);
      products.emplace(sky, *host, epochTime, [&](ProductFeed& out, CorrectionBatch batch) {
        for (; message != sky.messages.end() && message->transmission <= batch.tag; ++message)
          out.feed(*message);
        batch.newBiases = false;
        out.feed(batch);
      });
      biases.emplace(sky, *host, epochTime, [&](ProductFeed& out, CorrectionBatch batch) {
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
  FaultyRun(sky, {.productsFromElsewhere = true, .before = await}).expectTheSolutionsOf(single);
}

}  // namespace
}  // namespace gnx::test
