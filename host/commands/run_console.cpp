// The summary of a run on the console.

#include "commands/run_console.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>

#include "report/report.h"

namespace gnx {

namespace {

/// Progress on a terminal: data time, rate, remaining. Silent in a pipe.
class Progress {
 public:
  explicit Progress(bool quiet) : active_(!quiet && isatty(STDERR_FILENO) != 0) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() {
    if (drawn_) std::fprintf(stderr, "\r%79s\r", "");
  }
  void show(const RunProgress& r) {
    if (!active_) return;
    const auto now = Clock::now();
    if (now - shown_ < std::chrono::milliseconds(200)) return;
    shown_ = now;
    const double elapsed = std::chrono::duration<double>(now - start_).count();
    const double left = r.share > 0.01 ? elapsed * (1.0 - r.share) / r.share : 0.0;
    std::fprintf(stderr, "\r%s  %zu epochs  %.0f epochs/s  %3.0f %%  %.0f s left   ",
                 formatTime(r.time).c_str(), r.epochs,
                 static_cast<double>(r.epochs) / std::max(elapsed, 1e-3), 100.0 * r.share, left);
    drawn_ = true;
  }

 private:
  using Clock = std::chrono::steady_clock;
  bool active_, drawn_ = false;
  Clock::time_point start_ = Clock::now(), shown_{};
};

ReplayResult runWithProgress(ReplayOptions options) {
  Progress progress(options.quiet);
  options.onEpoch = [&progress](const RunProgress& r) { progress.show(r); };
  return runReplay(options);
}

void printSummary(const ReplayOptions& options, const ReplayResult& result) {
  std::cerr << result.notes;
  std::cout << formatSummary(result.summary) << '\n' << formatAccount(result.account);
  if (!result.events.empty()) std::cout << "\nevents              " << result.events;
  std::cout << "\nepochs read         " << result.epochsRead << "\nresults             "
            << options.outDir.string() << std::endl;
}

}  // namespace

void runOnConsole(const ReplayOptions& options) {
  const ReplayResult result = runWithProgress(options);
  if (!options.quiet) printSummary(options, result);
  if (2 * result.summary.solved < result.summary.epochs && !result.account.empty())
    std::cerr << "warning: " << result.summary.solved << " of " << result.summary.epochs
              << " epochs have a position; " << adviceOn(result.account) << '\n';
  if (!options.report) return;
  const std::filesystem::path page = writeReport(std::filesystem::absolute(options.outDir), {});
  if (!options.quiet) std::cout << "report              " << page.string() << std::endl;
}

}  // namespace gnx
