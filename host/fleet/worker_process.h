#pragma once
/// \file worker_process.h
/// The fleet's side of a worker: its process, and the frames that wait to be sent to it.

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>

#include "fleet/station_frames.h"

namespace gnx {

constexpr const char* kWorkerCommand = "fleet-worker";  ///< of this program
constexpr int kWorkerSocket = 3;                        ///< descriptor in the worker

class WorkerProcess {
 public:
  /// Starts this program as a worker. \param log  for its standard output and error
  /// \throws InputError when no process can be started
  explicit WorkerProcess(const std::filesystem::path& log);
  /// Ends it at once, if it runs still.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// Frames that the worker must have.
  void post(std::string frames);
  /// Frames of a stream; left out and counted when the worker is too far behind.
  void post(const Posted& posted);
  /// Sends what the worker takes now. False when it is gone.
  bool send();
  bool waits() const { return !m_waiting.empty(); }
  std::size_t waitingBytes() const { return m_bytes; }
  /// Bytes that it has taken so far.
  std::uint64_t takenBytes() const { return m_taken; }
  std::int64_t lost() const { return m_lost; }

  using Take = std::function<void(StationFrame kind, FrameReader& content)>;
  /// Hands over the frames that have come. False when the worker is gone. \throws EngineError
  bool receive(const Take& take);

  int descriptor() const { return m_descriptor; }
  pid_t process() const { return m_process; }
  /// How it has ended, words; "" while it runs.
  std::string end();

 private:
  pid_t m_process = 0;
  int m_descriptor = -1;
  std::deque<std::shared_ptr<const std::string>> m_waiting;
  std::size_t m_sent = 0, m_bytes = 0;  ///< of the first one; of all
  std::uint64_t m_taken = 0;
  std::int64_t m_lost = 0;
  std::string m_received;
};

}  // namespace gnx
