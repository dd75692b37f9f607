#pragma once
/// \file last_words.h
/// Why an engine ended, by what it printed.

#include <filesystem>
#include <string>

namespace gnx {

/// The reason that the last lines of an engine's standard output give; "it left no message; see engine.log"
/// when they give none. Solution lines do not count.
std::string lastWords(const std::filesystem::path& log);

}  // namespace gnx
