/// `gnx calibrate`: narrow-lane offsets of satellites from a run.

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "calibrate/narrow_lanes.h"
#include "commands/commands.h"
#include "commands/option_text.h"
#include "formats/input_error.h"
#include "formats/text_reader.h"

namespace gnx {

namespace {

struct CalibrateArguments {
  std::string directory, file, from, to;
  double settled_min = 90.0;
};

void calibrate(const CalibrateArguments& a) {
  std::optional<GpsTime> from, to;
  if (!a.from.empty()) from = parseTime(a.from, "--from");
  if (!a.to.empty()) to = parseTime(a.to, "--to");
  const PhaseOffsets offsets =
      narrowLaneOffsets(readNarrowLanes(a.directory, from, to), a.settled_min * 60.0);
  if (offsets.empty()) throw UsageError("no arc is old enough: the run should last some hours");
  writeTextFile(a.file, phaseOffsetsText(offsets));
  int large = 0;
  for (const auto& [sat, offset] : offsets) large += std::fabs(offset.cycles) > 0.15 ? 1 : 0;
  std::printf("%s: %zu satellites, %d of them more than 0.15 cycles off the mean of their system\n",
              a.file.c_str(), offsets.size(), large);
}

}  // namespace

void addCalibrate(CLI::App& app) {
  auto* cmd = app.add_subcommand(
      "calibrate", "narrow-lane offsets of satellites, from the float ambiguities of a long static run");
  auto a = std::make_shared<CalibrateArguments>();
  cmd->add_option("dir", a->directory, "run directory of 'gnx replay --fix', static, some hours long")
      ->required();
  a->file = "phase_offsets.csv";
  cmd->add_option("--out", a->file, "file to write, for 'gnx replay --phase-offsets'")->capture_default_str();
  cmd->add_option("--from", a->from, "use no earlier epoch, GPS time");
  cmd->add_option("--to", a->to, "use no later epoch, GPS time");
  cmd->add_option("--settled", a->settled_min, "age from which the floats of an arc count, minutes")
      ->check(CLI::Range(0.0, 1440.0))
      ->capture_default_str();
  cmd->callback([a] { calibrate(*a); });
}

}  // namespace gnx
