#pragma once
/// \file observation_end.h
/// When observation files end, for the time that is left of a run, without reading them to the end.

#include <optional>
#include <string>

#include "gnx/time.h"

namespace gnx {

/// By the period in the file's name (long names, and short ones of days and hours), else by the last epoch
/// line of a plain file. Nothing when neither tells. \param first  its first epoch
std::optional<GpsTime> observationEnd(const std::string& file, const GpsTime& first);

}  // namespace gnx
