#pragma once
/// \file option_text.h
/// Values of options that several subcommands share.

#include <map>
#include <string>
#include <vector>

#include "gnx/records.h"

namespace gnx {

/// GPS time from "2020-06-25T01:00:00", or with a blank for the T. Throws UsageError, which names the option.
GpsTime parseTime(const std::string& text, const std::string& option);

/// Values by key from words "key=value". Throws UsageError.
std::map<std::string, std::string> parseOverrides(const std::vector<std::string>& words);

}  // namespace gnx
