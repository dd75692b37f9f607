/// `gnx report`: the page of a run.

#include "report/report.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/option_text.h"
#include "gnx/error.h"
#include "report/analysis.h"

namespace gnx {

namespace {

struct ReportArguments {
  std::string directory;
  std::string file, figures;
  std::vector<double> reference;
  bool fixes = false;
};

void runReport(const ReportArguments& a) {
  ReportOptions options;
  options.file = a.file;
  options.figures = a.figures;
  if (!a.reference.empty()) options.reference = parsePlace(a.reference, "--reference");
  if (a.fixes && (!a.file.empty() || !a.figures.empty()))
    throw UsageError("--out and --figures have no effect with --fixes, which prints and writes no page");
  if (a.fixes) {
    const RunFiles run = readRunFiles(a.directory);
    const std::string fixes = formatFixes(analyseRun(run, options.reference));
    std::printf("%s", fixes.empty() ? "no integers are fixed in this run\n" : fixes.c_str());
    return;
  }
  std::printf("%s\n", writeReport(a.directory, options).c_str());
}

}  // namespace

void addReport(CLI::App& app) {
  auto* cmd = app.add_subcommand(
      "report", "write the HTML page of a run: statistics, figures, account of observations");
  auto a = std::make_shared<ReportArguments>();
  cmd->add_option("dir", a->directory, "run directory of 'gnx replay'")->required();
  cmd->add_option("--out", a->file, "file to write; without: report.html in the run directory");
  cmd->add_option("--figures", a->figures, "folder to which each figure goes as an SVG file too");
  cmd->add_option("--reference", a->reference,
                  "true position X Y Z of the marker, m; without: the one given to the run")
      ->expected(3);
  cmd->add_flag("--fixes", a->fixes,
                "print how good the fixes are, with the integers of a simulation against its truth; no page");
  cmd->footer("example: gnx report out/replay --reference 3582105.2 532589.8 5232754.8");
  cmd->callback([a] { runReport(*a); });
}

}  // namespace gnx
