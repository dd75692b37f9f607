#pragma once
/// \file manual.h
/// Manual pages and completion of the shells, made from the tables of options themselves.

#include <map>
#include <string>

namespace CLI {
class App;
}

namespace gnx {

/// Pages by file name: gnx.1 and one for each command, gnx-replay.1.
std::map<std::string, std::string> manualPages(const CLI::App& app);
/// Words of commands and options; files where no option stands.
std::string bashCompletion(const CLI::App& app);
std::string zshCompletion(const CLI::App& app);

/// `gnx completion SHELL`, and a command that writes all of it into folders for the installation.
void addManual(CLI::App& app);

}  // namespace gnx
