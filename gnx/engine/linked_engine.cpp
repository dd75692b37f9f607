// The engine in this process: starts it from its directory, listens to it.

#include <atomic>
#include <chrono>
#include <filesystem>
#include <utility>

#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "engine/engine_core.h"
#include "engine/solution_of.h"
#include "text/fields.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

std::atomic<bool> taken = false;

/// The engine reads its configuration from the working directory and keeps its place.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const fs::path& directory) : m_before(fs::current_path()) {
    fs::current_path(directory);
  }
  ~WorkingDirectory() {
    std::error_code ignored;
    fs::current_path(m_before, ignored);
  }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  fs::path m_before;
};

EngineEvent eventOf(const std::string& name, std::map<std::string, std::string> values) {
  constexpr std::int64_t kUnixMjd = 40587;
  EngineEvent event;
  const auto mjd = parseInt(values["mjd"]);
  event.time = GpsTime{(mjd.value_or(0) - kUnixMjd) * 86400, 0.0} + parseReal(values["sod"]).value_or(0.0);
  event.name = name;
  values.erase("mjd");
  values.erase("sod");
  event.values = std::move(values);
  return event;
}

void require(const std::string& wrong) {
  if (!wrong.empty()) throw UsageError(wrong);
}

class LinkedEngine : public EngineCore {
 public:
  LinkedEngine(fs::path directory, EventSink onEvent)
      : m_directory(std::move(directory)), m_onEvent(std::move(onEvent)) {
    if (GNX_isInitialize != 0 || taken.exchange(true))
      throw UsageError("an engine runs in this process already; run further ones as workers");
  }
  ~LinkedEngine() override { end(); }

  void start(const Start& start) override {
    if (m_onEvent)
      m_eventListener = GNX_EXT::addListener(
          "", [this](const std::string& name, const auto& values) { m_onEvent(eventOf(name, values)); });
    m_resultListener = GNX_EXT::addResultListener(
        [this](const GNX_EXT::Result& result) { m_solution = solutionOf(result); });
    if (start.clock) setClock(*start.clock);
    GNX_IO::sta_t station = start.station;
    GNX_EXT::boundLogs(start.logBytes);
    {
      const WorkingDirectory inside(m_directory);
      GNX_initialize(start.mode.c_str(), &station, start.cutoff_deg, start.interval_s);
    }
    if (start.biasHistory_s > 0.0) require(GNX_EXT::boundBiases(start.biasHistory_s));
    setOutputOptions(start.outputOptions);
  }

  void setClock(std::int64_t utc) override { GNX_EXT::setClock(utc); }
  void setOutputOptions(const std::string& options) override { require(GNX_EXT::setOutputOptions(options)); }
  void restart() override { GNX_restart(); }
  std::vector<std::string> writeStoreFiles(const GNX_IO::gtime_t& time) override {
    std::vector<std::string> files;
    require(GNX_EXT::writeStoreFiles(time, files));
    return files;
  }
  std::string state() override {
    std::string bytes;
    require(GNX_EXT::saveState(bytes));
    return bytes;
  }
  void resume(const std::string& state) override { require(GNX_EXT::resumeState(state)); }
  void finish() override { end(); }

  void inputMessage(int sat, const GNX_IO::eph_entry_t& eph) override { m_boundary.inputMessage(sat, eph); }
  void inputMessage(int sat, int prn, const GNX_IO::geph_entry_t& eph) override {
    m_boundary.inputMessage(sat, prn, eph);
  }
  void inputCorrections(GNX_IO::ssr_t* ssr) override { m_boundary.inputCorrections(ssr); }
  void inputBiases(GNX_IO::ssr_t* ssr) override { m_boundary.inputBiases(ssr); }
  void inputEpoch(const GNX_IO::gtime_t& time, std::span<GNX_IO::obs_entry_t> entries) override {
    m_solution.reset();
    const auto start = std::chrono::steady_clock::now();
    m_boundary.inputEpoch(time, entries);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    if (m_solution) m_solution->milliseconds = took.count();
  }

 private:
  void end() {
    if (m_ended) return;
    m_ended = true;
    if (GNX_isInitialize != 0) GNX_finilize();
    if (m_eventListener != 0) GNX_EXT::removeListener(m_eventListener);
    if (m_resultListener != 0) GNX_EXT::removeListener(m_resultListener);
    GNX_EXT::setClock(0);
    taken = false;
  }

  fs::path m_directory;
  EventSink m_onEvent;
  LinkedBoundary m_boundary;
  int m_eventListener = 0, m_resultListener = 0;
  bool m_ended = false;
};

}  // namespace

std::unique_ptr<EngineCore> makeLinkedEngine(const fs::path& directory, EventSink onEvent) {
  return std::make_unique<LinkedEngine>(directory, std::move(onEvent));
}

}  // namespace gnx
