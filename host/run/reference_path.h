#pragma once
/// \file reference_path.h
/// The true path of a moving receiver from a CSV file, as the simulator writes it ("truth.csv").

#include <filesystem>

#include "run/statistics.h"

namespace gnx {

/// The file's first line names its columns; needed are week, sow_s, x_m, y_m, z_m, in any order. Between
/// two rows at most `longestStep` seconds apart the position is interpolated linearly; elsewhere there
/// is none. \throws InputError for an unreadable or damaged file.
ReferencePath readReferencePath(const std::filesystem::path& file, double longestStep = 60.0);

}  // namespace gnx
