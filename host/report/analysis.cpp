// Works out the figures of merit of a run from its files.

#include "report/analysis.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "run/reference_path.h"
#include "text/printed.h"

namespace gnx {

FixCheck checkFixes(const std::vector<PositionError>& errors) {
  FixCheck check;
  for (const PositionError& e : errors) {
    if (!e.fixed) continue;
    const double size = std::hypot(e.enu[0], e.enu[1], e.enu[2]);
    ++check.fixed;
    if (size > kWrongFix_m) ++check.wrong;
    if (std::hypot(e.enu[0], e.enu[1]) > kLooseFix_m) ++check.loose;
    check.worst = std::max(check.worst, size);
    for (std::size_t i = 0; i < 3; ++i) check.rms[i] += e.enu[i] * e.enu[i];
  }
  if (check.fixed > 0)
    for (double& sum : check.rms) sum = std::sqrt(sum / static_cast<double>(check.fixed));
  return check;
}

std::map<char, ResidualStatistics, SystemOrder> describeResiduals(const std::vector<Residual>& residuals) {
  std::map<char, std::array<std::vector<double>, 2>> values;
  for (const Residual& r : residuals) values[r.satellite[0]][r.phase ? 0 : 1].push_back(r.value);
  std::map<char, ResidualStatistics, SystemOrder> result;
  for (const auto& [system, series] : values) {
    const SeriesStatistics phase = describeSeries(series[0]), code = describeSeries(series[1]);
    result[system] = {phase.count, code.count, phase.rms, code.rms, phase.largest, code.largest};
  }
  return result;
}

namespace {

/// Whether a receiver went further than errors reach: the middle nine tenths of its positions tell.
bool isTrack(const std::vector<PositionError>& errors) {
  constexpr double kSpread_m = 15.0;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    std::vector<double> values;
    for (const PositionError& e : errors) values.push_back(e.enu[axis]);
    if (quantile(values, 0.95) - quantile(values, 0.05) > kSpread_m) return true;
  }
  return false;
}

}  // namespace

RunAnalysis analyseRun(const RunFiles& run, const std::optional<std::array<double, 3>>& reference) {
  RunAnalysis a;
  a.residuals = describeResiduals(run.residuals);
  ReferencePath path;
  if (!reference && !run.plan.referenceFile.empty()) {
    path = readReferencePath(run.plan.referenceFile);
    a.moving = true;
    a.summary = summariseRun(run.epochs, path);
  } else {
    const auto given = reference ? reference : run.plan.reference;
    a.summary = summariseRun(run.epochs, given);
    a.reference = given ? *given : meanOfTail(run.epochs);
    path = [place = *a.reference](const GpsTime&) { return std::optional<Vector3>(place); };
  }
  a.errors = positionErrors(run.epochs, path);
  a.wanders = !a.moving && !a.summary.againstReference && run.plan.mode != "static" && isTrack(a.errors);
  a.fixes = checkFixes(a.errors);
  std::optional<IntegerTruth> truth;
  if (!run.plan.obs.empty())
    truth = IntegerTruth::read(std::filesystem::path(run.plan.obs.front()).parent_path() /
                               "truth_satellites.csv");
  a.integers = checkIntegers(run.integers, truth);
  a.events = readRunEvents(run.directory / "events.csv");
  return a;
}

std::string formatFixes(const RunAnalysis& a) {
  if (a.fixes.fixed == 0) return "";
  std::string text = printed("fixed epochs        %zu of %zu, first after %.1f min\n", a.fixes.fixed,
                             a.errors.size(), a.summary.firstFix.value_or(0.0) / 60.0);
  if (a.summary.againstReference)
    text += printed(
        "their errors        rms east %.4f north %.4f up %.4f m, largest %.3f m, %zu beyond %.0f cm "
        "horizontally\n",
        a.fixes.rms[0], a.fixes.rms[1], a.fixes.rms[2], a.fixes.worst, a.fixes.loose, 100.0 * kLooseFix_m);
  for (const auto& [name, level] : a.integers.levels) {
    text += printed("%-19s %zu of %zu fixed", levelName(name), level.fixed, level.candidates);
    if (a.integers.hasTruth) text += printed(", %zu of %zu wrong", level.wrong, level.checked);
    text += printed("; within %.2f cycle %.1f %% of the floats, %zu of %zu arcs\n", kNearInteger,
                    100.0 * shareNearInteger(level), arcsNearInteger(level), level.arcs.size());
  }
  if (a.integers.hasTruth)
    text += printed("epochs with integers %zu, with a wrong one %zu\n", a.integers.epochs,
                    a.integers.wrongEpochs);
  return text;
}

}  // namespace gnx
