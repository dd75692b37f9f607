/// `gnx explain`: what a deployment says, in words, and what is wrong with it.

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "gnx/deployment.h"

namespace gnx {

void addExplain(CLI::App& app) {
  auto* cmd = app.add_subcommand("explain", "tell what a deployment says, and what is wrong with it");
  auto dir = std::make_shared<std::filesystem::path>();
  cmd->add_option("dir", *dir, "directory of the deployment")->required();
  cmd->footer("example: gnx explain site");
  cmd->callback([dir] { Deployment::open(*dir).explain(std::cout); });
}

}  // namespace gnx
