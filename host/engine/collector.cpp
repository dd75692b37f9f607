// Reads what the worker sends, line by line.

#include "engine/collector.h"

#include <cmath>
#include <optional>
#include <sstream>
#include <utility>

#include "engine/account_lines.h"
#include "gnx/error.h"
#include "text/fields.h"

namespace gnx {

namespace {

constexpr std::size_t kKeptLines = 8;

/// "seconds fraction milliseconds satellites share ratio" and the covariance
std::optional<EpochRecord> parseRecord(std::string_view line) {
  EpochRecord r;
  std::istringstream in{std::string(line)};
  if (!(in >> r.time.seconds >> r.time.fraction >> r.milliseconds >> r.satellites >> r.share >> r.ratio))
    return std::nullopt;
  for (double& element : r.covariance)
    if (!(in >> element)) return std::nullopt;
  return r;
}

}  // namespace

Collector::Collector(const std::filesystem::path& dir, EpochListener onEpoch)
    : log_(dir / "engine.log"), onEpoch_(std::move(onEpoch)) {
  if (!log_) throw InputError((dir / "engine.log").string(), 0, "cannot be written");
}

void Collector::output(std::string_view line) {
  log_ << line << '\n';
  if (auto solution = parseSolutionLine(line)) {
    epochs.push_back(*solution);
  } else {
    if (lastLines.size() == kKeptLines) lastLines.erase(lastLines.begin());
    lastLines.emplace_back(line);
  }
}

void Collector::record(std::string_view line) {
  if (readHostAccountLine(line, account)) return;
  const auto r = parseRecord(line);
  if (!r) return;
  ++read;
  records_.push_back(*r);
  if (onEpoch_) onEpoch_(*r, read);
}

void Collector::complete() {
  auto r = records_.begin();
  for (SolutionEpoch& e : epochs) {
    while (r != records_.end() && e.time - r->time > 0.05) ++r;
    if (r == records_.end() || std::abs(e.time - r->time) > 0.05) continue;
    e.milliseconds = r->milliseconds;
    e.time = r->time;
    e.ratio = r->ratio;
    e.covariance = r->covariance;
  }
}

}  // namespace gnx
