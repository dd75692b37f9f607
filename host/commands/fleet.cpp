/// `gnx fleet`: many stations, until it is told to end.

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>

#include "commands/commands.h"
#include "commands/live_words.h"
#include "commands/option_text.h"
#include "fleet/fleet_run.h"
#include "fleet/fleet_worker.h"
#include "fleet/worker_process.h"
#include "gnx/error.h"
#include "run/input_survey.h"

namespace gnx {

namespace {

struct FleetArguments {
  std::string file, out, http, start, nats, node;
  double speed = 1.0;
  bool quiet = false, check = false;
};

constexpr const char* kFooter = R"(The file, which SIGHUP has read again (docs/fleet.md):
  {"streams": {"EPH": "ntrip://caster:2101/BCEP00", "A": "ntrip://caster:2101/SSRA00"},
   "defaults": {"eph": "EPH", "ssr": "A", "obs": "ntrip://caster:2101/[SITE]", "systems": "GE", "fix": true},
   "stations": [{"name": "ROME"}, {"name": "OSLO", "mode": "static", "obs": "tcp://oslo:5000"}],
   "out": "out/fleet", "http": "8080", "credentials": "caster.login"}
Stations and defaults take the options of 'gnx live'.)";

FleetOptions choicesOf(const FleetArguments& a) {
  FleetOptions options = readFleet(a.file, {liveOptionNames(), heldOptionNames(), liveOptionsOf});
  if (!a.out.empty()) options.out = a.out;
  if (!a.http.empty()) options.http = a.http;
  if (!a.nats.empty()) options.cluster.url = a.nats;
  if (!a.node.empty()) options.cluster.node = a.node;
  if (!a.start.empty()) options.start = parseTime(a.start, "--start");
  options.speed = a.speed;
  options.quiet = a.quiet;
  return options;
}

/// What would keep stations from starting.
void checkFleet(const FleetOptions& options) {
  for (const FleetStation& station : options.stations) {
    const LiveRunOptions& choices = station.options;
    try {
      if (!choices.deployment.empty()) Deployment::open(choices.deployment).checkTables();
      requireKinds(choices.deploy);
    } catch (const Error& e) {
      throw UsageError("station " + station.name + ": " + e.what());
    }
  }
}

void fleet(const FleetArguments& a) {
  const auto choices = [&] { return choicesOf(a); };
  const FleetOptions options = choices();
  if (a.check) return checkFleet(options);
  if (!runFleet(options, choices)) std::_Exit(0);
}

}  // namespace

void addFleet(CLI::App& app) {
  auto* cmd = app.add_subcommand("fleet", "run the engine for many stations on shared streams");
  auto a = std::make_shared<FleetArguments>();
  cmd->add_option("stations", a->file, "JSON file of the stations and what they share")->required();
  cmd->add_option("--out", a->out, "directory of results and logs, one a station; instead of the file's");
  cmd->add_option(
      "--http", a->http,
      "HOST:PORT, or PORT on this machine alone, for a page of all stations, /metrics (Prometheus) "
      "and /healthz; instead of the file's");
  cmd->add_option(
      "--nats", a->nats,
      "nats://HOST:4222[,nats://HOST2:4222...]: shares the stations with all machines that name the "
      "same servers; instead of the file's");
  cmd->add_option("--node", a->node, "name of this machine among them; without: its host and process");
  cmd->add_option("--start", a->start, "GPS time at which the clock begins, for old data from a caster");
  cmd->add_option("--speed", a->speed, "pace of a clock with --start")
      ->check(CLI::Range(0.01, 1e6))
      ->capture_default_str();
  cmd->add_flag("--check", a->check, "read the file, say what is wrong with it, and end");
  cmd->add_flag("--quiet", a->quiet, "nothing on standard error");
  cmd->footer(kFooter);
  cmd->callback([a] { fleet(*a); });

  auto* worker = app.add_subcommand(kWorkerCommand, "a station of a fleet; started by 'gnx fleet'");
  worker->group("");  // nobody calls it by hand
  worker->callback([] { std::exit(serveFleet(kWorkerSocket, liveOptionsOf)); });
}

}  // namespace gnx
