#pragma once
/// \file engine.h
/// One station: records in, a solution an epoch out.
///
///     gnx::Engine engine(gnx::Deployment::open("site"), {.mode = gnx::Mode::kinematic});
///     for (const auto& event : gnx::read({"site.rnx.gz", "brdc.rnx.gz", "orbits.sp3.gz", "clocks.clk.gz"}))
///       if (const auto solution = engine.feed(event))
///         std::cout << solution->time << ' ' << solution->position << ' ' << solution->state << '\n';
///
/// The engine runs in a process of its own: whatever becomes of it, the host goes on. Any number of them may
/// run at a time. In the host's own process there is room for one; it prints its solution lines on the host's
/// standard output, steps into its directory while it starts, and a configuration that it refuses ends the
/// process.
///
/// The results are the same bit for bit in both places. An object belongs to one thread at a time; different
/// objects are independent of each other.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnx/account.h"
#include "gnx/deployment.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/solution.h"

namespace gnx {

/// Something that happened in the engine; the values are words by key.
///
///     fix_gained     "fixed" satellites, "ratio"
///     fix_lost       "reason": restart, norows (no observation was used), unresolved; "status" of the epoch
///     satellite_in   "satellite", "elevation" (degrees): its observations are used (again)
///     satellite_out  the same
///     restart        "reason": request or interval (periodic restarts)
///     configuration  "file", "satellites", "systems", "interval" (s): it has been read
///     resumed        the state of an earlier run was tried: "held" satellites whose arcs go on, "broken"
///     ones
///                    by name; "why" when everything begins anew
struct EngineEvent {
  GpsTime time;
  std::string name;
  std::map<std::string, std::string> values;
};

/// Where an engine runs.
enum class Place {
  worker,     ///< in a process of its own
  inProcess,  ///< in this one
};

/// The wall clock of an engine, by which it judges the age of broadcast messages and dates its logs.
enum class EngineClock {
  records,  ///< the time of the records that it is fed: replays and live data alike
  machine,  ///< the machine's
};

struct EngineOptions {
  std::optional<Mode> mode{};  ///< instead of the deployment's
  Place place = Place::worker;
  EngineClock clock = EngineClock::records;
  /// Where the engine works and leaves its logs; made when it does not exist. "": a directory of its own that
  /// is removed at the end. The deployment's files are borrowed; the deployment itself may be named.
  std::filesystem::path directory{};
  /// Output options from the start on, see Engine::setOutputOptions.
  std::string outputOptions{};
  /// At so many bytes the files that grow with every epoch (ppp_pos, engine.log) begin anew, and what they
  /// held stays beside as NAME.1; of the status files the last 24 stay, two days. 0: no bound.
  std::int64_t logBytes = 0;
  /// Satellite biases are kept for so long, s; an hour is enough for runs that never ask for the past, such
  /// as live ones. 0: three days.
  double biasHistory_s = 0.0;
  /// Executable of the worker; "": what the environment variable GNX_WORKER names, else the one that is
  /// installed beside this library.
  std::filesystem::path worker{};
  /// What Engine::state() gave: the run goes on from there, where it still holds. The event "resumed" tells
  /// at the first epoch; a state that does not fit begins anew, as warnings() say.
  std::string state{};
  /// Told of every event, inside feed().
  std::function<void(const EngineEvent&)> onEvent{};
};

class Engine {
 public:
  /// The engine starts with the first record that it is fed.
  /// \throws UsageError, InputError when the directory cannot be made ready
  explicit Engine(const Deployment& deployment, const EngineOptions& options = {});
  /// Ends the engine in order, if that was not done before; errors of that are not told.
  ~Engine();
  Engine(Engine&&) noexcept;
  Engine& operator=(Engine&&) noexcept;

  /// Takes the next record. Of a stream that has no StreamStart call start() first.
  /// \return the solution of an epoch that the engine processed
  /// \throws EngineError with the engine's last words when it has ended; from then on at every call
  std::optional<Solution> feed(const Event& event);

  /// The same with what a host has at the time of the call. A message or a batch is taken as received when
  /// the last epoch was, or when it was delivered.
  std::optional<Solution> feed(const ObsEpoch& epoch);
  void feed(const BroadcastEph& eph);
  void feed(const GlonassEph& eph);
  void feed(const CorrectionBatch& batch);

  /// Starts the engine: signals are chosen, the station is made known. Only once.
  /// \throws UsageError, EngineError
  void start(const StreamStart& start);

  /// Resolves integers as a judgement says (IntegerJudge), from the next epoch on; satellites that it leaves
  /// float, from the next set of biases on. Phase biases that are fed from then on are made up for antenna
  /// offsets where it says so: they are to come as their provider sends them. Of a stream of read() the
  /// judgement comes with its StreamStart, and its biases are made up for already.
  void obey(const IntegerPolicy& policy);

  /// Sets the engine's output options, words such as "-outres -outaccount", from the next epoch on; the
  /// diagnostics go to "diagnostics.log" of the directory. docs/formats.md lists them. \throws UsageError
  void setOutputOptions(const std::string& options);
  /// Empties the filter; configuration and products stay.
  void restart();
  /// What the engine holds as files in its directory: broadcast messages and corrections. \return their names
  std::vector<std::string> writeStoreFiles(const GpsTime& time);
  /// What the engine knows between two epochs, for another one of the same version, deployment and signals
  /// (EngineOptions::state): ambiguities with their arcs, position, zenith delay, noise that was learnt. ""
  /// before the first epoch. The next run is to be fed its own messages, corrections and biases; it goes on
  /// when
  ///
  ///   - its first epoch comes within five minutes of the last one of the state,
  ///   - the tests for slips pass across the gap, and no loss-of-lock indicator tells of one in it,
  ///   - phase biases have the same counters and have not jumped,
  ///   - phases agree with what the state predicts, satellite by satellite, and
  ///   - a shift of the antenna does not explain what is left.
  ///
  /// Arcs that do not hold begin anew. When they are more than a quarter, when fewer than four satellites
  /// pass, or when the antenna was moved, everything does.
  std::string state();
  /// Ends the engine in order. Records fed from then on are a UsageError.
  void finish();

  /// Where the engine works.
  const std::filesystem::path& directory() const;
  /// The signals that were chosen, one line a system; "" before the start.
  std::string signals() const;
  /// What to know about signals and integers, and about what is left undone; sentences.
  const std::vector<std::string>& warnings() const;
  const std::vector<std::string>& notes() const;
  /// What the receiver gave so far and what was left out before it reached the engine.
  const RunAccount& account() const;
  /// Process of the worker; 0 in this process, before the start and behind the end.
  long processId() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace gnx
