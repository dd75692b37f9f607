// Reads a run, draws its figures and writes its page.

#include "report/report.h"

#include "report/analysis.h"
#include "report/figures.h"
#include "report/page.h"
#include "run/run_files.h"
#include "text/text_reader.h"

namespace gnx {

std::filesystem::path writeReport(const std::filesystem::path& directory, const ReportOptions& options) {
  Gnuplot plot(options.gnuplot);  // before the work: without it there is no page
  const RunFiles run = readRunFiles(directory);
  const RunAnalysis analysis = analyseRun(run, options.reference);
  std::vector<Figure> figures;
  if (analysis.summary.solved > 0) figures = drawFigures(run, analysis, plot);  // else the account says why
  const std::filesystem::path file = options.file.empty() ? directory / "report.html" : options.file;
  writeTextFile(file, htmlPage(run, analysis, figures));
  if (options.figures.empty()) return file;
  makeDirectory(options.figures, "--figures");
  for (const Figure& figure : figures)
    writeTextFile(options.figures / (figure.id + ".svg"), standaloneSvg(figure.svg));
  return file;
}

}  // namespace gnx
