#pragma once
/// \file option_file.h
/// Options of a command from a JSON file: {"sp3": ["a.sp3", "b.sp3"], "fix": true, "interval": 30}.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace gnx {

/// Gives every command the option --config, but those that read it themselves.
void addOptionFile(CLI::App& app);

/// Words of a command line with those of the file that --config names in its place. What the command line
/// says itself goes before the file. \throws InputError for a damaged file
std::vector<std::string> withOptionFile(const std::vector<std::string>& words);

}  // namespace gnx
