#pragma once
/// \file commands.h
/// The subcommands of the program. Each adds itself to the command line; its callback does the work
/// and throws InputError, UsageError or EngineError.

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace gnx {

void addInit(CLI::App& app);
void addExplain(CLI::App& app);
void addReplay(CLI::App& app);
void addBatch(CLI::App& app);
/// Words of a command line as the parser takes them: those behind "--" of 'gnx batch' are options of its
/// runs.
std::vector<std::string> withRunOptions(std::vector<std::string> words);
void addLive(CLI::App& app);
void addFleet(CLI::App& app);
void addSimulate(CLI::App& app);
void addDemo(CLI::App& app);
void addProducts(CLI::App& app);
void addReport(CLI::App& app);
void addCompare(CLI::App& app);

}  // namespace gnx
