/// `gnx init`: writes a complete, commented deployment of the engine.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/option_text.h"
#include "gnx/deployment.h"
#include "gnx/error.h"
#include "run/input_survey.h"

namespace gnx {

namespace {

struct InitArguments {
  std::filesystem::path dir;
  DeploymentOptions options;
  std::string date, mode = "static", galileo = "auto";
  std::vector<double> position, antennaDelta;
  std::vector<std::string> set;
  bool noResolution = false, noBiases = false, force = false;
};

/// "2020-06-25", midday: away from the validity limits at midnight.
GpsTime parseDate(const std::string& text) {
  Calendar c;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d%c", &c.year, &c.month, &c.day, &rest) != 3 || c.year < 1981 ||
      c.year > 2099 || c.month < 1 || c.month > 12 || c.day < 1 || c.day > 31) {
    throw UsageError("--date takes a date such as 2020-06-25, not '" + text + "'");
  }
  c.hour = 12;
  return toGpsTime(c);
}

void addOptions(CLI::App& cmd, InitArguments& a) {
  DeploymentOptions& o = a.options;
  cmd.add_option("dir", a.dir, "directory of the deployment, made when absent")->required();
  cmd.add_option("--systems", o.systems, "letters of G R E C (BeiDou-3) B (BeiDou-2) J")
      ->capture_default_str();
  cmd.add_option("--freqobs", o.freqobs, "observed frequencies, e.g. \"GPS:L1_L2_L5 GAL:E1_E5a\"");
  cmd.add_option("--freqs,--freqused", o.freqused, "used frequencies, in the same form");
  cmd.add_option("--combination", o.combination, "RAW, IF, AFIF or SF")->capture_default_str();
  cmd.add_option("--refpoint", o.refpoint, "what the orbits refer to: CoM_ITRF or APC_ITRF")
      ->capture_default_str();
  cmd.add_option("--antex", o.antex, "antenna file (ANTEX 1.4), plain or .gz");
  cmd.add_option("--grid", o.grid, "GPT2w grid of 1 or 5 degrees, plain or .gz");
  cmd.add_option("--blq", o.blq, "ocean loading (BLQ), plain or .gz");
  cmd.add_option("--erp", o.erp, "Earth rotation: IGS .erp or finals2000A, plain or .gz");
  cmd.add_option(
         "--ionosphere-sigma", o.ionosphereSigma_m,
         "sigma of a new slant delay, m, where --ionex of 'gnx replay' takes maps off; without: unknown")
      ->check(CLI::Range(0.01, 1000.0));
  cmd.add_option("--date", a.date,
                 "date of the data, which decides on satellites and antennas; without: now");
  cmd.add_flag("--no-resolution", a.noResolution, "leave the ambiguities float");
  cmd.add_flag("--no-bias-products", a.noBiases, "corrections come without phase biases");
  cmd.add_option("--mode", a.mode, "static, kinematic or dynamic")->capture_default_str();
  cmd.add_option("--interval", o.run.interval_s, "processing interval, s; 1 takes every epoch")
      ->capture_default_str();
  cmd.add_option("--cutoff", o.run.cutoff_deg, "elevation mask, degrees")->capture_default_str();
  cmd.add_option("--galileo", a.galileo, "messages to which corrections refer: auto, fnav or inav")
      ->capture_default_str();
  cmd.add_option("--station-name", o.run.stationName, "name for reports")->capture_default_str();
  cmd.add_option("--antenna", o.run.antenna, "antenna type and radome, 20 characters");
  cmd.add_option("--position", a.position, "a-priori position X Y Z, m")->expected(3);
  cmd.add_option("--antenna-delta", a.antennaDelta, "reference point above the marker: E N U, m")
      ->expected(3);
  cmd.add_option("--code-noise", o.codeNoise_m, "sigma of codes at high elevation to begin with, m")
      ->check(CLI::Range(0.01, 30.0));
  cmd.add_option("--trace-level", o.traceLevel, "0 everything .. 4 errors alone")->capture_default_str();
  cmd.add_flag("--force", a.force, "replace a deployment that is there");
  cmd.add_option("--set", a.set, "any other value: key=value, e.g. common.ionmodel=ION_NONE");
}

void init(InitArguments& a) {
  DeploymentOptions& o = a.options;
  if (!a.date.empty()) o.date = parseDate(a.date);
  if (!a.position.empty()) o.run.position_m = parsePlace(a.position, "--position");
  if (!a.antennaDelta.empty()) o.run.antennaDelta_m = parseDelta(a.antennaDelta, "--antenna-delta");
  o.run.mode = parseMode(a.mode);
  o.run.galileo = parseGalileoKind(a.galileo);
  o.resolution = !a.noResolution;
  o.biasProducts = !a.noBiases;
  o.overrides = parseOverrides(a.set);
  if (!a.force && std::filesystem::exists(a.dir / "ppp.json"))
    throw UsageError(a.dir.string() +
                     " holds a deployment already, which may have been edited; name another directory, or "
                     "replace it with --force");
  requireKinds(o);
  const Deployment made = Deployment::make(a.dir, o);
  std::cout << "deployment written to " << a.dir.string() << "; the files explain their values\n";
  for (const std::string& note : made.notes()) std::cout << note << '\n';
  if (a.set.empty()) return;  // what was chosen without it starts
  for (const std::string& sentence : made.check()) std::cerr << "warning: " << sentence << '\n';
}

}  // namespace

void addInit(CLI::App& app) {
  auto* cmd = app.add_subcommand("init", "write a deployment: configuration and data files");
  auto a = std::make_shared<InitArguments>();
  addOptions(*cmd, *a);
  cmd->footer("example: gnx init site --systems GEC --antex antennas.atx --date 2026-11-21");
  cmd->callback([a] { init(*a); });
}

}  // namespace gnx
