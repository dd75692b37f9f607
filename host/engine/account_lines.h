#pragma once
/// \file account_lines.h
/// The host's counts on their way from the worker.

#include <string>
#include <string_view>

#include "gnx/account.h"

namespace gnx {

/// What the host counted, as one line "account G in=.. unplanned=.. reason=..", and the reverse.
/// A line of another kind changes nothing and gives false.
std::string hostAccountLine(char system, const SystemAccount& counts);
bool readHostAccountLine(std::string_view line, RunAccount& account);

}  // namespace gnx
