/// `gnx compare`: two runs held against each other.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "commands/commands.h"
#include "commands/exit_status.h"
#include "report/comparison.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

struct CompareArguments {
  std::string first, second, page;
};

void runCompare(const CompareArguments& a) {
  const RunFiles first = readRunFiles(a.first), second = readRunFiles(a.second);
  const Comparison comparison = compareRuns(first, second);
  std::printf("%s", comparisonText(first, second, comparison).c_str());
  if (!a.page.empty()) {
    Gnuplot plot;
    writeTextFile(a.page, comparisonPage(first, second, comparison, plot));
  }
  if (comparison.differences.empty())
    throw EndWithStatus(kNoResult,
                        "no epoch has a position in both runs; 'gnx report' tells why one has none");
}

}  // namespace

void addCompare(CLI::App& app) {
  auto* cmd = app.add_subcommand("compare", "where two runs differ, and what they were told differently");
  auto a = std::make_shared<CompareArguments>();
  cmd->add_option("first", a->first, "run directory of 'gnx replay'")->required();
  cmd->add_option("second", a->second, "another one over the same time")->required();
  cmd->add_option("--page", a->page, "HTML file to write: differences over time");
  cmd->footer("example: gnx compare out/float out/fixed --page differences.html");
  cmd->callback([a] { runCompare(*a); });
}

}  // namespace gnx
