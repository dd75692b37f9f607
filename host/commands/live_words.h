#pragma once
/// \file live_words.h
/// The options of `gnx live` for those who have them as words and not on a command line.

#include <string>
#include <vector>

#include "live/live_options.h"

namespace gnx {

/// \param words  "--obs=tcp://...", "--fix"
/// \throws UsageError that begins with the option's name
LiveRunOptions liveOptionsOf(const std::vector<std::string>& words);

/// Names of all options, without dashes.
std::vector<std::string> liveOptionNames();
/// Those of them that are refused beside a deployment, whose files hold the choice.
std::vector<std::string> deployedOptionNames();
/// These, and settings of the run that a deployment holds as well; given for one station they go before it.
std::vector<std::string> heldOptionNames();

}  // namespace gnx
