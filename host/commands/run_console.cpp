// The summary of a run on the console.

#include "commands/run_console.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "commands/exit_status.h"
#include "report/report.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// Progress on a terminal. Silent in a pipe.
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
    std::fprintf(stderr, "\r%-79s",
                 progressLine(r, std::chrono::duration<double>(now - start_).count()).c_str());
    drawn_ = true;
  }

 private:
  using Clock = std::chrono::steady_clock;
  bool active_, drawn_ = false;
  Clock::time_point start_ = Clock::now(), shown_{};
};

void printWarnings(const std::vector<std::string>& sentences) {
  for (const std::string& sentence : sentences) std::cerr << "warning: " << sentence << '\n';
}

/// What is no warning already.
void printNotes(const ReplayResult& result) {
  std::istringstream lines(result.notes);
  for (std::string line; std::getline(lines, line);) {
    const auto behind = line.find(": ");
    const std::string sentence = behind == std::string::npos ? line : line.substr(behind + 2);
    if (std::ranges::count(result.warnings, sentence) == 0) std::cerr << line << '\n';
  }
}

ReplayResult runWithProgress(ReplayOptions options) {
  Progress progress(options.quiet);
  options.onEpoch = [&progress](const RunProgress& r) { progress.show(r); };
  options.onInputs = [quiet = options.quiet](const std::string& table, const auto& warnings) {
    if (!quiet) std::cerr << table << '\n';
    printWarnings(warnings);
  };
  return runReplay(options);
}

/// \throws EndWithStatus unless the run has given what it should
void endByResult(const ReplayOptions& options, const ReplayResult& result) {
  const RunSummary& s = result.summary;
  if (result.signal != 0)
    throw EndWithStatus(kSignal + result.signal, "interrupted" +
                                                     (s.epochs > 0 ? " at " + formatTime(s.end) : "") +
                                                     "; results so far are in " + options.outDir.string());
  if (s.epochs > 0 && 2 * s.solved >= s.epochs) return;
  throw EndWithStatus(kNoResult, std::to_string(s.solved) + " of " + std::to_string(s.epochs) +
                                     " epochs have a position; " +
                                     (result.account.empty() ? "the observations gave none in the chosen time"
                                                             : adviceOn(result.account)));
}

void printSummary(const ReplayOptions& options, const ReplayResult& result) {
  printNotes(result);
  std::cout << formatSummary(result.summary) << (result.station ? formatStation(*result.station) : "") << '\n'
            << formatAccount(result.account);
  if (!result.events.empty()) std::cout << "\nevents              " << result.events;
  std::cout << "\nepochs read         " << result.epochsRead << "\nresults             "
            << options.outDir.string() << std::endl;
}

}  // namespace

std::string progressLine(const RunProgress& r, double elapsed_s) {
  std::string text = formatTime(r.time) +
                     printed("  %.0f epochs/s", static_cast<double>(r.epochs) / std::max(elapsed_s, 1e-3));
  constexpr double kLeast = 0.005;
  if (r.share > 0.0) text += printed("  %.0f %%", 100.0 * r.share);
  if (r.share > kLeast) {
    const double left_s = elapsed_s * (1.0 - r.share) / r.share;
    text += left_s < 90.0 ? printed("  %.0f s left", left_s) : printed("  %.0f min left", left_s / 60.0);
  }
  if (r.sigma_m > 0.0) {
    text += r.fixed ? "  fixed" : "  float";
    text += r.sigma_m < 1.0 ? printed(" %.1f cm", 100.0 * r.sigma_m) : printed(" %.1f m", r.sigma_m);
  }
  return text;
}

void runOnConsole(const ReplayOptions& options) {
  const ReplayResult result = runWithProgress(options);
  if (!options.quiet) printSummary(options, result);
  printWarnings(result.warnings);
  if (options.report && result.summary.epochs > 0) {
    const std::filesystem::path page = writeReport(std::filesystem::absolute(options.outDir), {});
    if (!options.quiet) std::cout << "report              " << page.string() << std::endl;
  }
  endByResult(options, result);
}

}  // namespace gnx
