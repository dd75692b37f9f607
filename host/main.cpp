/// The program gnx: a host of the engine for streams, files, simulation and reports.

#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands/commands.h"
#include "gnx/error.h"

int main(int argc, char** argv) {
  CLI::App app{"gnx - precise point positioning with multi-GNSS receivers", "gnx"};
  app.set_version_flag("--version", GNX_VERSION);
  app.require_subcommand(1);
  gnx::addInit(app);
  gnx::addExplain(app);
  gnx::addReplay(app);
  gnx::addLive(app);
  gnx::addFleet(app);
  gnx::addSimulate(app);
  gnx::addReport(app);
  gnx::addCompare(app);
  gnx::addProducts(app);
  gnx::addDemo(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : 2;
  } catch (const gnx::EngineError& e) {
    std::fprintf(stderr, "gnx: %s\n", e.what());
    return 3;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "gnx: %s\n", e.what());
    return 2;
  }
  return 0;
}
