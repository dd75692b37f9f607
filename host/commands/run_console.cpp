// The summary of a run on the console.

#include "commands/run_console.h"

#include <iostream>

#include "report/report.h"

namespace gnx {

namespace {

void printSummary(const ReplayOptions& options, const ReplayResult& result) {
  std::cerr << result.notes;
  std::cout << formatSummary(result.summary) << '\n' << formatAccount(result.account);
  if (!result.events.empty()) std::cout << "\nevents              " << result.events;
  std::cout << "\nepochs read         " << result.epochsRead << "\nresults             "
            << options.outDir.string() << std::endl;
}

}  // namespace

void runOnConsole(const ReplayOptions& options) {
  const ReplayResult result = runReplay(options);
  if (!options.quiet) printSummary(options, result);
  if (2 * result.summary.solved < result.summary.epochs && !result.account.empty())
    std::cerr << "warning: " << result.summary.solved << " of " << result.summary.epochs
              << " epochs have a position; " << adviceOn(result.account) << '\n';
  if (!options.report) return;
  const std::filesystem::path page = writeReport(std::filesystem::absolute(options.outDir), {});
  if (!options.quiet) std::cout << "report              " << page.string() << std::endl;
}

}  // namespace gnx
