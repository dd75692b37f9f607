// Reckons a run: errors in local axes, time of convergence, shares of fixes.

#include "run/statistics.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "run/solution_files.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kHorizontalLimit = 0.10;  // m
constexpr double kVerticalLimit = 0.20;    // m
constexpr double kHour = 3600.0;
constexpr double kDay = 24.0 * kHour;

/// A solution that went astray to the centre of the Earth has no error worth telling.
bool isOnEarth(const Vector3& place) {
  constexpr double kDeepest_m = 6.3e6;
  return std::hypot(place[0], place[1], place[2]) > kDeepest_m;
}

/// Seconds from the first error to the first one after which all stay within the limit.
std::optional<double> convergence(const std::vector<PositionError>& errors, double limit,
                                  double (*magnitude)(const Vector3&)) {
  std::size_t start = errors.size();
  while (start > 0 && magnitude(errors[start - 1].enu) <= limit) --start;
  if (start == errors.size()) return std::nullopt;
  return errors[start].time - errors.front().time;
}

void describeAvailability(const std::vector<SolutionEpoch>& epochs, RunSummary& s) {
  s.epochs = epochs.size();
  s.begin = epochs.front().time;
  s.end = epochs.back().time;
  std::vector<double> steps, sigmas, times;
  double satellites = 0.0;
  std::size_t fixed = 0;
  for (std::size_t i = 0; i < epochs.size(); ++i) {
    const SolutionEpoch& epoch = epochs[i];
    if (i > 0) steps.push_back(epoch.time - epochs[i - 1].time);
    if (epoch.milliseconds > 0.0) {
      if (i == 0) s.firstMilliseconds = epoch.milliseconds;
      else times.push_back(epoch.milliseconds);
    }
    if (!isSolved(epoch)) continue;
    const int count = satelliteCount(epoch);
    s.satellitesMin = s.solved == 0 ? count : std::min(s.satellitesMin, count);
    s.satellitesMax = std::max(s.satellitesMax, count);
    satellites += count;
    ++s.solved;
    sigmas.push_back(epoch.sigma0);
    if (epoch.status != kFixedStatus) continue;
    if (fixed++ == 0) s.firstFix = epoch.time - s.begin;
  }
  s.interval = quantile(steps, 0.5);
  if (s.solved > 0) {
    s.satellitesMean = satellites / static_cast<double>(s.solved);
    s.fixedShare = static_cast<double>(fixed) / static_cast<double>(s.solved);
    s.sigma0Median = quantile(sigmas, 0.5);
    s.sigma0Min = quantile(sigmas, 0.0);
    s.sigma0Max = quantile(sigmas, 1.0);
  }
  s.timed = times.size();
  s.medianMilliseconds = quantile(times, 0.5);
  s.p99Milliseconds = quantile(times, 0.99);
  s.maxMilliseconds = quantile(times, 1.0);
}

GpsTime tailStart(const RunSummary& s) {
  const double span = s.end - s.begin;
  return s.end + (span >= kDay ? -12.0 * kHour : -0.5 * span);
}

Vector3 meanPosition(const std::vector<SolutionEpoch>& epochs, const GpsTime& from) {
  Vector3 sum{};
  double count = 0.0;
  for (const SolutionEpoch& epoch : epochs) {
    if (!isSolved(epoch) || !isOnEarth(epoch.xyz) || epoch.time - from < 0.0) continue;
    count += 1.0;
    // A running mean keeps the digits that a sum of many millions of metres would lose.
    for (std::size_t i = 0; i < 3; ++i) sum[i] += (epoch.xyz[i] - sum[i]) / count;
  }
  return sum;
}

void describeAccuracy(const std::vector<SolutionEpoch>& epochs, const ReferencePath& reference,
                      RunSummary& s) {
  const std::vector<PositionError> errors = positionErrors(epochs, reference);
  if (errors.empty()) return;
  s.whole = describeErrors(errors, errors.front().time);
  const GpsTime hour = errors.front().time + kHour;
  if (errors.back().time - hour >= kHour) s.afterHour = describeErrors(errors, hour);
  const GpsTime tail = tailStart(s);
  if (errors.back().time - tail > 0.0) {
    s.tail = describeErrors(errors, tail);
    s.tailSeconds = s.end - tail;
  }
  s.horizontalConvergence =
      convergence(errors, kHorizontalLimit, [](const Vector3& e) { return std::hypot(e[0], e[1]); });
  s.verticalConvergence =
      convergence(errors, kVerticalLimit, [](const Vector3& e) { return std::abs(e[2]); });
}

void appendErrors(std::string& text, const std::string& title, const ErrorStatistics& e) {
  text += printed("  %-18s%10s%10s%10s%10s   (%zu epochs)\n", title.c_str(), "mean", "std", "rms", "max",
                  e.east.count);
  const auto row = [&text](const char* name, const SeriesStatistics& s) {
    text += printed("    %-16s%10.4f%10.4f%10.4f%10.4f\n", name, s.mean, s.deviation, s.rms, s.largest);
  };
  row("east", e.east);
  row("north", e.north);
  row("up", e.up);
  text += printed("    %-36s%10.4f\n    %-36s%10.4f\n", "horizontal", e.horizontalRms, "3D", e.spatialRms);
}

}  // namespace

ErrorStatistics describeErrors(const std::vector<PositionError>& errors, const GpsTime& from) {
  std::array<std::vector<double>, 3> series;
  for (const PositionError& error : errors)
    if (error.time - from >= 0.0)
      for (std::size_t i = 0; i < 3; ++i) series[i].push_back(error.enu[i]);
  ErrorStatistics s;
  s.east = describeSeries(series[0]);
  s.north = describeSeries(series[1]);
  s.up = describeSeries(series[2]);
  s.horizontalRms = std::hypot(s.east.rms, s.north.rms);
  s.spatialRms = std::hypot(s.horizontalRms, s.up.rms);
  return s;
}

SeriesStatistics describeSeries(const std::vector<double>& values) {
  SeriesStatistics s;
  s.count = values.size();
  if (values.empty()) return s;
  const double n = static_cast<double>(values.size());
  double squares = 0.0;
  for (const double v : values) {
    s.mean += v / n;
    squares += v * v / n;
    s.largest = std::max(s.largest, std::abs(v));
  }
  s.rms = std::sqrt(squares);
  double deviations = 0.0;
  for (const double v : values) deviations += (v - s.mean) * (v - s.mean);
  s.deviation = values.size() > 1 ? std::sqrt(deviations / (n - 1.0)) : 0.0;
  return s;
}

double quantile(std::vector<double> values, double p) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const double place = std::clamp(p, 0.0, 1.0) * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

std::vector<PositionError> positionErrors(const std::vector<SolutionEpoch>& epochs,
                                          const ReferencePath& reference) {
  std::vector<PositionError> errors;
  for (const SolutionEpoch& epoch : epochs) {
    if (!isSolved(epoch) || !isOnEarth(epoch.xyz)) continue;
    const auto truth = reference(epoch.time);
    if (!truth) continue;
    const Vector3 d{epoch.xyz[0] - (*truth)[0], epoch.xyz[1] - (*truth)[1], epoch.xyz[2] - (*truth)[2]};
    errors.push_back({epoch.time, toEastNorthUp(d, toGeodetic(*truth)), epoch.status == kFixedStatus});
  }
  return errors;
}

RunSummary summariseRun(const std::vector<SolutionEpoch>& epochs, const ReferencePath& reference) {
  RunSummary s;
  if (epochs.empty()) return s;
  describeAvailability(epochs, s);
  s.againstReference = true;
  describeAccuracy(epochs, reference, s);
  return s;
}

RunSummary summariseRun(const std::vector<SolutionEpoch>& epochs,
                        const std::optional<std::array<double, 3>>& reference) {
  RunSummary s;
  if (epochs.empty()) return s;
  describeAvailability(epochs, s);
  s.againstReference = reference.has_value();
  const Vector3 place = reference ? *reference : meanPosition(epochs, tailStart(s));
  describeAccuracy(
      epochs, [&place](const GpsTime&) { return std::optional<Vector3>(place); }, s);
  return s;
}

Vector3 meanOfTail(const std::vector<SolutionEpoch>& epochs) {
  if (epochs.empty()) return {};
  RunSummary s;
  s.begin = epochs.front().time;
  s.end = epochs.back().time;
  return meanPosition(epochs, tailStart(s));
}

std::string duration(const std::optional<double>& seconds) {
  if (!seconds) return "never";
  if (*seconds < 120.0) return printed("%.0f s", *seconds);
  if (*seconds < 2.0 * kHour) return printed("%.1f min", *seconds / 60.0);
  return printed("%.2f h", *seconds / kHour);
}

std::string formatSummary(const RunSummary& s) {
  std::string text;
  if (s.epochs == 0) return "no epochs\n";
  text += printed("run                 %s to %s, %s, every %g s\n", formatTime(s.begin).c_str(),
                  formatTime(s.end).c_str(), duration(s.end - s.begin).c_str(), s.interval);
  text += printed("epochs              %zu, solved %zu (%.1f %%)\n", s.epochs, s.solved,
                  100.0 * static_cast<double>(s.solved) / static_cast<double>(s.epochs));
  if (s.solved > 0) {
    text += printed("satellites          mean %.1f, min %d, max %d\n", s.satellitesMean, s.satellitesMin,
                    s.satellitesMax);
    text += printed("sigma0              median %.3f, min %.3f, max %.3f\n", s.sigma0Median, s.sigma0Min,
                    s.sigma0Max);
    text += printed("fixed               %.1f %% of the solved epochs, first after %s\n",
                    100.0 * s.fixedShare, duration(s.firstFix).c_str());
  }
  if (s.whole.east.count > 0) {
    text += printed("%s\n", s.againstReference ? "error against the reference, m"
                                               : "repeatability about the mean of the last part, m");
    appendErrors(text, "whole run", s.whole);
    if (s.afterHour) appendErrors(text, "after 1 h", *s.afterHour);
    if (s.tail) appendErrors(text, "last " + duration(s.tailSeconds), *s.tail);
    text += printed("convergence         horizontal 10 cm %s, vertical 20 cm %s\n",
                    duration(s.horizontalConvergence).c_str(), duration(s.verticalConvergence).c_str());
  }
  if (s.timed > 0)
    text += printed("time per epoch      median %.2f ms, 99 %% %.2f ms, max %.2f ms; first epoch %.1f ms\n",
                    s.medianMilliseconds, s.p99Milliseconds, s.maxMilliseconds, s.firstMilliseconds);
  return text;
}

}  // namespace gnx
