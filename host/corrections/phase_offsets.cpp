// Adds constant narrow-lane offsets of satellites to the phase biases of a stream.

#include "corrections/phase_offsets.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "formats/csv_reader.h"
#include "formats/fields.h"
#include "formats/printed.h"
#include "formats/text_reader.h"

namespace gnx {

namespace {

constexpr std::string_view kHeader = "satellite,offset_cycles";

}  // namespace

PhaseOffsets readPhaseOffsets(const std::filesystem::path& file) {
  TextReader in(file.string());
  std::string_view line;
  if (!in.next(line) || !line.starts_with(kHeader))
    in.fail("header", "must begin with \"" + std::string(kHeader) + "\"; 'gnx calibrate' writes such files");
  PhaseOffsets offsets;
  std::vector<std::string_view> cells;
  while (in.next(line)) {
    if (trim(line).empty()) continue;
    splitCells(line, cells);
    const auto sat = parseSat(cells[0]);
    const double cycles = cells.size() > 1 ? parseReal(cells[1]).value_or(HUGE_VAL) : HUGE_VAL;
    if (!sat) in.fail("satellite", "is none");
    if (!(std::fabs(cycles) <= 1.0)) in.fail("offset_cycles", "is no number between -1 and 1");
    PhaseOffset offset{cycles, 0.0, 0};
    if (cells.size() > 2) offset.rms = parseReal(cells[2]).value_or(0.0);
    if (cells.size() > 3) offset.arcs = parseInt(cells[3]).value_or(0);
    if (!offsets.emplace(*sat, offset).second) in.fail("satellite", "stands here a second time");
  }
  return offsets;
}

std::string phaseOffsetsText(const PhaseOffsets& offsets) {
  std::string text = std::string(kHeader) + ",rms_cycles,arcs\n";
  for (const auto& [sat, offset] : offsets) {
    text += printed("%s,%.3f,%.3f,%d\n", sat.c_str(), offset.cycles, offset.rms, offset.arcs);
  }
  return text;
}

}  // namespace gnx
