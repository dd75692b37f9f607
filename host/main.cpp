/// The program gnx: a host of the engine for streams, files, simulation and reports.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "commands/exit_status.h"
#include "commands/manual.h"
#include "commands/near_names.h"
#include "commands/option_file.h"
#include "gnx/error.h"

int main(int argc, char** argv) {
  CLI::App app{"gnx - precise point positioning with multi-GNSS receivers", "gnx"};
  app.set_version_flag("--version", GNX_VERSION);
  app.require_subcommand(1);
  gnx::addInit(app);
  gnx::addExplain(app);
  gnx::addReplay(app);
  gnx::addBatch(app);
  gnx::addLive(app);
  gnx::addFleet(app);
  gnx::addSimulate(app);
  gnx::addReport(app);
  gnx::addCompare(app);
  gnx::addProducts(app);
  gnx::addDemo(app);
  gnx::addManual(app);
  gnx::addOptionFile(app);
  std::vector<std::string> given(argv + 1, argv + argc);
  try {
    given = gnx::withOptionFile(given);
    std::vector<std::string> words = gnx::withRunOptions(given);
    std::ranges::reverse(words);  // the parser takes them from the end
    app.parse(std::move(words));
  } catch (const CLI::ParseError& e) {
    const std::string misspelt = gnx::misspeltWord(app, given);
    if (e.get_exit_code() == 0 || misspelt.empty()) {
      const bool failed = app.exit(e) != 0;
      if (dynamic_cast<const CLI::ConversionError*>(&e) != nullptr)
        std::fputs("Numbers of an option stand apart, such as 3582104.76 532590.18 5232755.14.\n", stderr);
      return failed ? gnx::kBadUse : gnx::kGood;
    }
    std::fprintf(stderr, "gnx: %s\n", misspelt.c_str());
    return gnx::kBadUse;
  } catch (const gnx::EndWithStatus& e) {
    std::fprintf(stderr, "gnx: %s\n", e.what());
    return e.status();
  } catch (const gnx::EngineError& e) {
    std::fprintf(stderr, "gnx: %s\n", e.what());
    return gnx::kEngineFailed;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "gnx: %s\n", e.what());
    return gnx::kBadUse;
  }
  return gnx::kGood;
}
