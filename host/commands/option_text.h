#pragma once
/// \file option_text.h
/// Values of options that several subcommands share.

#include <array>
#include <map>
#include <string>
#include <vector>

#include "gnx/records.h"

namespace gnx {

/// GPS time from "2020-06-25T01:00:00", or with a blank for the T. Throws UsageError, which names the option.
GpsTime parseTime(const std::string& text, const std::string& option);

/// Values by key from words "key=value". Throws UsageError.
std::map<std::string, std::string> parseOverrides(const std::vector<std::string>& words);

/// A place X Y Z on or near the Earth. Throws UsageError, also for latitude, longitude and height.
std::array<double, 3> parsePlace(const std::vector<double>& numbers, const std::string& option);

/// A reference point beside its marker, east, north, up. Throws UsageError for millimetres.
std::array<double, 3> parseDelta(const std::vector<double>& numbers, const std::string& option);

/// Names of satellites, one a word or with commas. Throws UsageError, with the nearest form of a wrong one.
std::vector<std::string> parseSatellites(const std::vector<std::string>& words, const std::string& option);

}  // namespace gnx
