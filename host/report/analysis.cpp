#include "report/analysis.h"

#include <algorithm>
#include <cmath>

#include "report/reference_path.h"
#include "report/solution_files.h"

namespace gnx {

namespace {
constexpr int kFixedStatus = 5;
}

std::vector<PositionError> positionErrors(const std::vector<SolutionEpoch>& epochs,
                                          const ReferencePath& reference) {
  std::vector<PositionError> errors;
  for (const SolutionEpoch& epoch : epochs) {
    if (!isSolved(epoch)) continue;
    const auto truth = reference(epoch.time);
    if (!truth) continue;
    const Vector3 d{epoch.xyz[0] - (*truth)[0], epoch.xyz[1] - (*truth)[1], epoch.xyz[2] - (*truth)[2]};
    errors.push_back({epoch.time, toEastNorthUp(d, toGeodetic(*truth)), epoch.status == kFixedStatus});
  }
  return errors;
}

FixCheck checkFixes(const std::vector<PositionError>& errors) {
  FixCheck check;
  for (const PositionError& e : errors) {
    if (!e.fixed) continue;
    const double size = std::hypot(e.enu[0], e.enu[1], e.enu[2]);
    ++check.fixed;
    if (size > kWrongFix_m) ++check.wrong;
    check.worst = std::max(check.worst, size);
  }
  return check;
}

std::map<char, ResidualStatistics> describeResiduals(const std::vector<Residual>& residuals) {
  std::map<char, std::array<std::vector<double>, 2>> values;
  for (const Residual& r : residuals) values[r.satellite[0]][r.phase ? 0 : 1].push_back(r.value);
  std::map<char, ResidualStatistics> result;
  for (const auto& [system, series] : values) {
    const SeriesStatistics phase = describeSeries(series[0]), code = describeSeries(series[1]);
    result[system] = {phase.count, code.count, phase.rms, code.rms, phase.largest, code.largest};
  }
  return result;
}

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
  a.fixes = checkFixes(a.errors);
  return a;
}

}  // namespace gnx
