// Reads a run, draws its figures and writes its page.

#include "report/report.h"

#include <fstream>

#include "formats/input_error.h"
#include "report/analysis.h"
#include "report/figures.h"
#include "report/page.h"
#include "run/run_files.h"

namespace gnx {

namespace {

void writeText(const std::filesystem::path& file, const std::string& text) {
  std::ofstream out(file, std::ios::binary);
  out << text;
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

void writeFigures(const std::vector<Figure>& figures, const std::filesystem::path& folder) {
  if (folder.empty()) return;
  std::filesystem::create_directories(folder);
  for (const Figure& figure : figures) writeText(folder / (figure.id + ".svg"), standaloneSvg(figure.svg));
}

}  // namespace

std::filesystem::path writeReport(const std::filesystem::path& directory, const ReportOptions& options) {
  Gnuplot plot(options.gnuplot);  // before the work: without it there is no page
  const RunFiles run = readRunFiles(directory);
  const RunAnalysis analysis = analyseRun(run, options.reference);
  const std::vector<Figure> figures = drawFigures(run, analysis, plot);
  const std::filesystem::path file = options.file.empty() ? directory / "report.html" : options.file;
  writeText(file, htmlPage(run, analysis, figures));
  writeFigures(figures, options.figures);
  return file;
}

}  // namespace gnx
