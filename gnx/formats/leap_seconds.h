#pragma once
/// \file leap_seconds.h
/// Differences between the time scales of files and GPS time.

#include <optional>
#include <string_view>

#include "formats/records.h"

namespace gnx {

/// GPS time minus UTC, s, at a moment read on the UTC clock (IERS Bulletin C; 0 before July 1981).
int leapSecondsAtUtc(const GpsTime& utc);

/// A reading of the clock of a file, named as in RINEX, SP3 and SINEX headers, as GPS time:
/// "GPS", "GAL", "QZS", "IRN" and "" unchanged, "BDT"/"BDS" + 14 s, "TAI" - 19 s, "UTC"/"GLO" by leap
/// seconds. Nothing for an unknown name.
std::optional<GpsTime> gpsTimeOf(const GpsTime& reading, std::string_view scale);

/// Offset of BDT against GPS time, s: GPS = BDT + 14.
inline constexpr double kBdtOffset = 14.0;

}  // namespace gnx
