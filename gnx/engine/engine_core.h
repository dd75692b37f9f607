#pragma once
/// \file engine_core.h
/// An engine between its start and its end, in this process or in another: what Engine feeds.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnx/adapt.h"
#include "gnx/engine.h"

namespace gnx {

class EngineCore : public Boundary {
 public:
  struct Start {
    std::string mode;
    GNX_IO::sta_t station{};
    double cutoff_deg = 0.0, interval_s = 0.0;
    std::optional<std::int64_t> clock;  ///< UTC; none: the machine's
    std::string outputOptions;
    std::int64_t logBytes = 0;
    double biasHistory_s = 0.0;
  };

  virtual void start(const Start& start) = 0;
  /// UTC, s.
  virtual void setClock(std::int64_t utc) = 0;
  virtual void setOutputOptions(const std::string& options) = 0;
  virtual void restart() = 0;
  virtual std::vector<std::string> writeStoreFiles(const GNX_IO::gtime_t& time) = 0;
  /// What the engine knows between two epochs.
  virtual std::string state() = 0;
  /// Behind start(). \throws UsageError for a state that cannot be taken over
  virtual void resume(const std::string& state) = 0;
  virtual void finish() = 0;
  virtual long processId() const { return 0; }

  /// The solution of the last epoch; nothing when the engine did not process it.
  std::optional<Solution> takeSolution() { return std::exchange(m_solution, std::nullopt); }

 protected:
  std::optional<Solution> m_solution;
};

/// Standard output of a worker, in its directory.
inline constexpr const char* kWorkerOutput = "engine.log";

using EventSink = std::function<void(const EngineEvent&)>;

/// The engine that is linked to this process; there is room for one.
/// \param directory  with the deployment, from which it starts
/// \throws UsageError when there is one already
std::unique_ptr<EngineCore> makeLinkedEngine(const std::filesystem::path& directory, EventSink onEvent);

/// An engine in a process of its own, whose standard output goes to a file of the directory.
/// \throws EngineError when the process cannot be started
std::unique_ptr<EngineCore> makeWorkerEngine(const std::filesystem::path& directory,
                                             const std::filesystem::path& program, EventSink onEvent);

/// The worker's side: serves the host at the other end of a socket until it is told to finish or the host is
/// gone. The working directory holds the deployment.
void serveHost(int descriptor);

}  // namespace gnx
