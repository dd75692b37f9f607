/// `gnx live`: streams in, positions out, until it is told to end.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/exit_status.h"
#include "commands/live_words.h"
#include "commands/near_names.h"
#include "commands/option_text.h"
#include "gnx/error.h"
#include "live/live_options.h"
#include "live/live_run.h"
#include "ntrip/ntrip_table.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

/// Values of the command line that need work before they are options.
struct LiveArguments {
  LiveRunOptions options;
  std::string start, mode, galileo, sourcetable, config;
};

constexpr const char* kConfig = "--config";
/// A recording holds what they would bring.
const std::vector<std::string> kOfSources = {"obs", "eph", "ssr", "credentials", "start"};
constexpr const char* kFooter = R"(URLs:
  ntrip://HOST[:2101]/MOUNTPOINT   a caster; ntrips:// with TLS, its certificate verified
      ?version=1                   where the caster knows NTRIP 1 alone
      ?gga=10                      sends the position every 10 s
      ?ca=FILE                     certificates to trust besides the system's (ntrips)
  tcp://HOST:PORT                  tcp-listen://HOST:PORT waits for the sender instead
  serial:///dev/ttyUSB0?speed=115200
  file:///path?speed=1             1 as sent, 10 ten times as fast, 0 as fast as possible
  -                                standard input or output
Any source takes ?silence=30: a connection that brings nothing for so long is made anew.

Example:
  gnx live --obs serial:///dev/ttyUSB0 --eph ntrip://caster:2101/BCEP00 --ssr ntrip://caster:2101/SSRA00 \
      --credentials caster.login --systems GE --out out/live --json - )";

void addSourceOptions(CLI::App& cmd, LiveRunOptions& o) {
  cmd.add_option("--obs", o.obs, "URL of observations in RTCM 3; of several the first that works is taken");
  cmd.add_option("--eph", o.eph, "URLs of broadcast messages; without, they are taken from all streams");
  cmd.add_option(
      "--ssr", o.ssr,
      "URLs of corrections, in order of preference: another one takes over within 10 s; without, the "
      "stream of --obs carries them");
  cmd.add_option(
      "--credentials", o.credentials,
      "file with lines HOST[:PORT][/MOUNTPOINT] USER PASSWORD, readable by its owner alone; without, "
      "the environment variables GNX_NTRIP_USER and GNX_NTRIP_PASSWORD");
  cmd.add_option("--wait", o.assembly.wait_s, "seconds that an epoch waits for corrections of its own time")
      ->check(CLI::Range(0.0, 30.0))
      ->capture_default_str();
  cmd.add_option("--start-wait", o.assembly.startWait_s, "seconds that the start waits for code biases")
      ->check(CLI::Range(0.0, 3600.0))
      ->capture_default_str();
}

void addDeploymentOptions(CLI::App& cmd, LiveArguments& a) {
  LiveRunOptions& o = a.options;
  cmd.add_option("--deployment", o.deployment, "directory made by 'gnx init'; without: written into --out");
  cmd.add_option("--systems", o.deploy.systems, "systems of the deployment, letters of G R E C B J")
      ->capture_default_str();
  cmd.add_option("--freqobs", o.deploy.freqobs, "observed frequencies, e.g. \"GPS:L1_L2 GAL:E1_E5a\"");
  cmd.add_option("--freqused", o.deploy.freqused, "used frequencies");
  cmd.add_option("--antex", o.deploy.antex, "antenna file for the deployment");
  o.deploy.resolution = false;
  cmd.add_flag("--fix", o.deploy.resolution, "resolve ambiguities to integers; needs phase biases");
  cmd.add_option("--mode", a.mode, "static, kinematic or dynamic")
      ->check(CLI::IsMember({"static", "kinematic", "dynamic"}))
      ->default_str("kinematic");
  cmd.add_option("--galileo", a.galileo, "messages to which corrections refer: auto, fnav or inav")
      ->default_str("auto");
  o.deploy.run.mode = Mode::kinematic;
  o.deploy.run.interval_s = 1.0;
  cmd.add_option("--interval", o.given.interval_s, "processing interval, s; 1 takes every epoch")
      ->check(CLI::Range(0.01, 3600.0))
      ->default_str("1");
  o.deploy.refpoint = "APC_ITRF";
  cmd.add_option("--refpoint", o.deploy.refpoint,
                 "what the orbits of the corrections refer to: APC_ITRF (most streams) or CoM_ITRF")
      ->capture_default_str();
  cmd.add_option("--station-name", o.given.stationName, "name for files")
      ->default_str(o.deploy.run.stationName);
}

void addOutputOptions(CLI::App& cmd, LiveArguments& a) {
  LiveRunOptions& o = a.options;
  cmd.add_option("--out", o.out, "directory of results and logs")->capture_default_str();
  cmd.add_option("--json", o.json, "URL for a line of JSON an epoch; docs/live.md describes it");
  cmd.add_option("--nmea", o.nmea, "URL for NMEA sentences: GGA, GST, GSA, ZDA, RMC");
  cmd.add_option(
      "--http", o.http,
      "HOST:PORT, or PORT on this machine alone, for /metrics (Prometheus), /healthz and /solution.json");
  cmd.add_option(
      "--solution-name", o.solutionNames,
      "solution files, cut and named by the time, e.g. \"[SITE]_[YYYY][DDD][HH].pos\" (.pos, .csv, "
      ".nmea); without: solution.pos");
  cmd.add_option("--record", o.record, "new directory for all bytes with their times of arrival");
  cmd.add_option("--play", o.play, "a recording instead of sources");
  cmd.add_option(
         "--speed", o.speed,
         "pace of --play and of a clock with --start: 10 is ten times as fast; --play 0 as fast as possible")
      ->check(CLI::Range(0.0, 1e6))
      ->capture_default_str();
  cmd.add_option(
      "--start", a.start,
      "GPS time at which the run's clock begins: for files that do not tell their date, and for old data "
      "from a caster");
  cmd.add_option("--sourcetable", a.sourcetable, "list the streams of a caster, ntrip://HOST:PORT, and end");
  cmd.add_flag("--quiet", o.quiet, "nothing on standard error");
}

void addOptions(CLI::App& cmd, LiveArguments& a) {
  addSourceOptions(cmd, a.options);
  addDeploymentOptions(cmd, a);
  addOutputOptions(cmd, a);
  cmd.add_option(
      kConfig, a.config,
      "JSON file of an object with these options, such as {\"obs\": \"tcp://...\", \"fix\": true}; the "
      "command line adds to it; SIGHUP has it read again");
}

/// What was given and would change nothing is a mistake about what the run does.
void refuseIdleOptions(const CLI::App& cmd, const LiveRunOptions& o) {
  const auto refuse = [&](const std::vector<std::string>& names, const std::string& why) {
    for (const std::string& name : names)
      if (cmd.count("--" + name) > 0) throw UsageError("--" + name + " has no effect " + why);
  };
  if (!o.deployment.empty())
    refuse(deployedOptionNames(),
           "with --deployment, whose files hold that choice; leave it out, or make the deployment anew with "
           "'gnx init'");
  if (!o.play.empty())
    refuse(kOfSources, "with --play, which brings what the sources sent and when; leave it out");
  else if (cmd.count("--start") == 0)
    refuse({"speed"}, "without --play or --start; files take their own pace, file:///path?speed=10");
}

/// What was given on the command line, as words.
std::vector<std::string> wordsOf(const CLI::App& cmd) {
  std::vector<std::string> words;
  for (const CLI::Option* option : cmd.get_options()) {
    const std::string name = "--" + option->get_single_name();
    if (option->count() == 0 || name == kConfig) continue;
    for (const std::string& value : option->results())
      words.push_back(option->get_expected_min() == 0 ? name : name + "=" + value);
  }
  return words;
}

/// \throws CLI::ParseError
LiveArguments argumentsOf(std::vector<std::string> words) {
  LiveArguments arguments;
  CLI::App parser("live");
  parser.set_help_flag();
  parser.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
  addOptions(parser, arguments);
  std::ranges::reverse(words);  // it takes them from the back
  parser.parse(std::move(words));
  refuseIdleOptions(parser, arguments.options);
  return arguments;
}

/// "obs" of "--obs=tcp://..."
std::string nameIn(const std::string& word) { return word.substr(2, word.find('=') - 2); }

/// Choices of a file and of the command line together.
LiveArguments withFile(const std::string& file, const std::vector<std::string>& given) {
  std::vector<std::string> words;
  {
    TextReader reader(file);
    std::string text;
    for (std::string_view line; reader.next(line);) text.append(line).append("\n");
    words = wordsOfJson(text, file);
  }
  const std::vector<std::string> known = liveOptionNames();
  for (const std::string& word : words)
    if (const std::string name = nameIn(word); std::ranges::count(known, name) == 0)
      throw InputError(file, 0, "'" + name + "' is no option of 'gnx live'" + didYouMean(name, known));
  // A recording is played with the choices of the run that it is of.
  const bool played =
      std::ranges::any_of(given, [](const auto& word) { return word.starts_with("--play="); });
  const auto isOfSources = [](const std::string& word) {
    return std::ranges::count(kOfSources, nameIn(word)) > 0;
  };
  if (played) std::erase_if(words, isOfSources);
  words.insert(words.end(), given.begin(), given.end());
  try {
    return argumentsOf(std::move(words));
  } catch (const CLI::ParseError& e) {
    throw InputError(file, 0, e.what());
  }
}

LiveRunOptions completed(LiveArguments a) {
  LiveRunOptions& o = a.options;
  if (!a.start.empty()) o.start = parseTime(a.start, "--start");
  if (!a.mode.empty()) o.given.mode = parseMode(a.mode);
  if (!a.galileo.empty()) o.given.galileo = parseGalileoKind(a.galileo);
  o.deploy.run = o.given.over(o.deploy.run);
  if (o.speed <= 0.0 && o.play.empty()) throw UsageError("--speed 0 goes with --play alone");
  if (o.play.empty() && o.obs.empty())
    throw UsageError("no observations; give a URL with --obs, or a recording with --play");
  return o;
}

void printTable(const LiveArguments& a) {
  const Credentials credentials =
      a.options.credentials.empty() ? Credentials() : Credentials(a.options.credentials);
  for (const Mountpoint& m : readSourceTable(parseStreamUrl(a.sourcetable), credentials))
    std::cout << m.name << "  " << m.identifier << "  " << m.format << "  " << m.system << "  " << m.network
              << "  " << m.country << '\n';
}

void live(const CLI::App& cmd, const LiveArguments& a) {
  refuseIdleOptions(cmd, a.options);
  const std::vector<std::string> given = wordsOf(cmd);
  const auto choices = [&] { return completed(a.config.empty() ? a : withFile(a.config, given)); };
  try {
    if (!a.sourcetable.empty()) return printTable(a);
    const LiveEnd end = runLive(choices(), choices);
    const bool empty = !end.told && end.positions == 0;
    if (!end.threadsEnded) std::_Exit(empty ? kNoResult : kGood);
    if (empty)
      throw EndWithStatus(kNoResult, "the sources ended without a position: " +
                                         (end.why.empty() ? "the log tells what is missing" : end.why));
  } catch (const ConnectionError& e) {
    throw UsageError(a.sourcetable + " " + e.what() + "; check the address and the network");
  }
}

}  // namespace

LiveRunOptions liveOptionsOf(const std::vector<std::string>& words) {
  try {
    return completed(argumentsOf(words));
  } catch (const CLI::ParseError& e) {
    throw UsageError(e.what());
  }
}

std::vector<std::string> deployedOptionNames() {
  return {"systems", "freqobs", "freqused", "antex", "fix", "refpoint"};
}

std::vector<std::string> heldOptionNames() {
  std::vector<std::string> names = deployedOptionNames();
  names.insert(names.end(), {"mode", "interval", "galileo"});
  return names;
}

std::vector<std::string> liveOptionNames() {
  LiveArguments arguments;
  CLI::App parser("live");
  parser.set_help_flag();
  addOptions(parser, arguments);
  std::vector<std::string> names;
  for (const CLI::Option* option : parser.get_options()) names.push_back(option->get_single_name());
  return names;
}

void addLive(CLI::App& app) {
  auto* cmd = app.add_subcommand("live", "run the engine on streams, day and night");
  auto a = std::make_shared<LiveArguments>();
  addOptions(*cmd, *a);
  cmd->footer(kFooter);
  cmd->callback([cmd, a] { live(*cmd, *a); });
}

}  // namespace gnx
