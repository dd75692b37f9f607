/// `gnx simulate`: observations, navigation, corrections and truth of a sky that does not exist.

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <optional>

#include "commands/commands.h"
#include "commands/option_text.h"
#include "gnx/error.h"
#include "simulate/simulation.h"

namespace gnx {

namespace {

/// Values of the command line that need work before they are options.
struct SimulateArguments {
  SimulationOptions options;
  std::string directory, date = "2026-11-21T00:00:00", signals, faults;
  std::vector<double> site = {47.5, 8.5, 450.0}, position, antennaDelta;
  bool noNoise = false, noMultipath = false, noBiases = false, noReceiverBiases = false,
       noBroadcastErrors = false;
  bool noTroposphere = false, noIonosphere = false, noTides = false, noWindup = false,
       noSatelliteTruth = false;
  bool quiet = false, nominalYaw = false;
  std::optional<double> sunAbovePlane;
};

GpsTime parseStart(const std::string& text) {
  Calendar c;
  const int n = std::sscanf(text.c_str(), "%d-%d-%d%*c%d:%d:%lf", &c.year, &c.month, &c.day, &c.hour,
                            &c.minute, &c.second);
  const bool hasTime = n == 5 || n == 6;
  if ((n != 3 && !hasTime) || c.year < 2017 || c.year > 2099 || c.month < 1 || c.month > 12 || c.day < 1 ||
      c.day > 31 || c.hour < 0 || c.hour > 23 || c.minute < 0 || c.minute > 59 ||
      !(c.second >= 0.0 && c.second < 60.0))
    throw UsageError("--date takes a GPS time from 2017 on, such as 2026-11-21T06:00:00, not '" + text + "'");
  c.second = std::floor(c.second);
  return toGpsTime(c);
}

void addSkyOptions(CLI::App& cmd, SimulateArguments& a) {
  SkyOptions& sky = a.options.sky;
  cmd.add_option("dir", a.directory, "folder of the files, made when absent")->required();
  cmd.add_option("--date", a.date, "first epoch, GPS time")->capture_default_str();
  cmd.add_option("--hours", sky.hours, "length")->check(CLI::Range(0.01, 336.0))->capture_default_str();
  cmd.add_option("--interval", a.options.interval, "between observations, s")->capture_default_str();
  cmd.add_option("--systems", sky.systems, "letters of G E C J")->capture_default_str();
  cmd.add_option("--signals", a.signals,
                 "e.g. \"G:1C,2W E:1C,5Q\"; default G:1C,2W,5Q E:1C,5Q,7Q C:2I,6I,5P J:1C,2L,5Q");
  cmd.add_option("--sun-above-plane", a.sunAbovePlane,
                 "the Sun above the first orbital planes, degrees; default far from all planes")
      ->check(CLI::Range(-20.0, 20.0));
  cmd.add_flag("--nominal-yaw", a.nominalYaw,
               "satellites near the Sun's plane do not turn as their blocks do");
  cmd.add_flag("--centre-of-mass", sky.massCentre, "orbits refer to the centre of mass, not to the antenna");
  cmd.add_option("--seed", sky.seed, "another seed is another simulation")->capture_default_str();
  cmd.add_option("--clock-interval", a.options.clockInterval, "of the clock corrections, s")
      ->capture_default_str();
  cmd.add_option("--orbit-interval", a.options.orbitInterval, "of the orbit corrections, s")
      ->capture_default_str();
  cmd.add_option("--bias-interval", a.options.biasInterval, "of the bias corrections, s")
      ->capture_default_str();
}

void addReceiverOptions(CLI::App& cmd, SimulateArguments& a) {
  ObserverOptions& o = a.options.observer;
  cmd.add_option("--site", a.site, "latitude, longitude (degrees), height (m)")
      ->expected(3)
      ->capture_default_str();
  cmd.add_option("--position", a.position, "marker X Y Z, m, instead of --site")
      ->expected(3)
      ->excludes("--site");
  cmd.add_option("--path", o.path.kind, "static, circle or figure8")->capture_default_str();
  cmd.add_option("--radius", o.path.radius, "of the path, m")->capture_default_str();
  cmd.add_option("--speed", o.path.speed, "on the path, m/s")->capture_default_str();
  cmd.add_option("--vertical", o.path.verticalAmplitude, "amplitude of a slow vertical wave, m")
      ->capture_default_str();
  cmd.add_option("--clock", o.clock.kind, "receiver clock: steered, free or jumping (1 ms)")
      ->capture_default_str();
  cmd.add_option("--mask", o.maskDegrees, "elevation mask, degrees")
      ->check(CLI::Range(0.0, 89.0))
      ->capture_default_str();
  cmd.add_option("--antenna", a.options.antenna, "antenna type for the header, 20 characters with radome");
  cmd.add_option("--antenna-delta", a.antennaDelta, "reference point above the marker: E N U, m")
      ->expected(3);
}

void addErrorOptions(CLI::App& cmd, SimulateArguments& a) {
  ObserverOptions& o = a.options.observer;
  cmd.option_defaults()->group("Error budget")->always_capture_default();
  cmd.add_option("--code-sigma", o.codeSigma, "noise of a range at the zenith, m")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--phase-sigma", o.phaseSigma, "noise of a phase at the zenith, m")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--code-multipath", o.codeMultipath, "slow error of a range at the zenith, m")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--phase-multipath", o.phaseMultipath, "slow error of a phase at the zenith, m")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--code-multipath-time", o.codeMultipathTime, "correlation time of the former, s");
  cmd.add_option("--phase-multipath-time", o.phaseMultipathTime, "correlation time of the latter, s");
  cmd.add_option("--wet-delay", o.troposphere.wetZenith, "mean zenith wet delay, m");
  cmd.add_option("--day-tec", o.ionosphere.dayTec, "vertical electron content by day at the equator, TECU");
  cmd.add_option("--wave-tec", o.ionosphere.waveTec,
                 "storm: amplitude of a travelling wave of the vertical content, TECU")
      ->check(CLI::NonNegativeNumber);
  cmd.add_option("--wave-period", o.ionosphere.wavePeriod, "of it, s");
  cmd.add_option("--wave-speed", o.ionosphere.waveSpeed, "of it, m/s");
  cmd.add_option("--scintillation", o.scintillation, "noise of the phases by the ionosphere, rad at L1")
      ->check(CLI::NonNegativeNumber);
  cmd.add_flag("--urban", o.urban, "streets: hidden satellites, reflections, lost locks, silent slips");
  cmd.add_option("--satellite-clock-walk", a.options.sky.clockWalk, "s per root second");
  cmd.add_flag("--no-noise", a.noNoise, "no white noise");
  cmd.add_flag("--no-multipath", a.noMultipath, "no slow errors");
  cmd.add_flag("--no-biases", a.noBiases, "no satellite code and phase biases");
  cmd.add_flag("--no-receiver-biases", a.noReceiverBiases, "no receiver biases between systems and signals");
  cmd.add_flag("--no-broadcast-errors", a.noBroadcastErrors, "broadcast messages equal the truth");
  cmd.add_flag("--no-troposphere", a.noTroposphere, "vacuum below");
  cmd.add_flag("--no-ionosphere", a.noIonosphere, "vacuum above");
  cmd.add_flag("--no-tides", a.noTides, "a rigid Earth");
  cmd.add_flag("--no-windup", a.noWindup, "no phase wind-up");
  cmd.add_option("--faults", a.faults, "JSON list of slips, gaps, outliers and correction faults");
}

void applyErrorSwitches(const SimulateArguments& a, SimulationOptions& o) {
  ObserverOptions& r = o.observer;
  if (a.noNoise) r.codeSigma = r.phaseSigma = 0.0;
  if (a.noMultipath) r.codeMultipath = r.phaseMultipath = 0.0;
  if (a.noBiases) o.sky.codeBiasSigma = o.sky.phaseBiasSigma = 0.0;
  if (a.noReceiverBiases) r.interSystemSigma = r.receiverBiasSigma = 0.0;
  if (a.noBroadcastErrors) o.sky.broadcastErrorScale = 0.0;
  r.troposphere.on = !a.noTroposphere;
  r.ionosphere.on = !a.noIonosphere;
  r.solidTide = !a.noTides;
  r.windup = !a.noWindup;
  o.satelliteTruth = !a.noSatelliteTruth;
}

void refuseIdleOptions(const CLI::App& cmd, const SimulationOptions& o) {
  if (o.observer.path.kind == "static")
    for (const char* option : {"--radius", "--speed", "--vertical"})
      if (cmd.count(option) > 0)
        throw UsageError(std::string(option) +
                         " has no effect on a receiver that stands; give --path circle or figure8");
  if (o.interval > o.sky.hours * 3600.0)
    throw UsageError("--interval is longer than --hours; there would be one epoch");
}

void runSimulate(const CLI::App& cmd, SimulateArguments& a) {
  refuseIdleOptions(cmd, a.options);
  SimulationOptions& o = a.options;
  o.sky.start = parseStart(a.date);
  o.sky.sunAbovePlane = a.sunAbovePlane;
  o.sky.turns = !a.nominalYaw;
  o.sky.signals = parseSignalTable(a.signals);
  constexpr double kRadians = std::numbers::pi / 180.0;
  if (!(std::fabs(a.site[0]) <= 90.0 && std::fabs(a.site[1]) <= 360.0 && std::fabs(a.site[2]) <= 1e5))
    throw UsageError(
        "--site takes latitude and longitude in degrees and height in metres, such as 47.5 8.5 450");
  o.observer.site = a.position.empty() ? toEarthFixed({a.site[0] * kRadians, a.site[1] * kRadians, a.site[2]})
                                       : parsePlace(a.position, "--position");
  if (!a.antennaDelta.empty()) {
    const auto enu = parseDelta(a.antennaDelta, "--antenna-delta");
    o.observer.antennaDelta = {enu[2], enu[0], enu[1]};
  }
  if (!a.faults.empty()) o.faults = FaultList::read(a.faults);
  applyErrorSwitches(a, o);
  const SimulationFiles files = simulate(o, a.directory);
  if (a.quiet) return;
  const Vector3& site = o.observer.site;
  std::printf("simulated %g h from %s, every %g s, systems %s\n", o.sky.hours,
              formatTime(o.sky.start).c_str(), o.interval, o.sky.systems.c_str());
  for (const auto* file : {&files.observations, &files.navigation, &files.corrections, &files.truth})
    std::printf("  %s\n", file->string().c_str());
  if (o.rtcm) std::printf("  %s\n", files.stream.string().c_str());
  const bool moving = o.observer.path.kind != "static";
  std::printf(
      "\nrun the engine on it:\n  gnx replay --obs %s --nav %s --ssr %s --systems %s --interval %g --mode %s",
      files.observations.string().c_str(), files.navigation.string().c_str(),
      files.corrections.string().c_str(), o.sky.systems.c_str(), o.interval, moving ? "dynamic" : "static");
  if (o.sky.massCentre) std::printf(" --refpoint CoM_ITRF");
  if (!moving) std::printf(" --reference %.4f %.4f %.4f", site[0], site[1], site[2]);
  std::printf("\n");
}

}  // namespace

void addSimulate(CLI::App& app) {
  auto* cmd = app.add_subcommand("simulate", "write a simulated data set with its truth");
  auto a = std::make_shared<SimulateArguments>();
  addSkyOptions(*cmd, *a);
  addReceiverOptions(*cmd, *a);
  cmd->add_flag("--no-satellite-truth", a->noSatelliteTruth, "leave truth_satellites.csv out");
  cmd->add_flag("--rtcm", a->options.rtcm, "write stream.rtcm3 as well: everything as one byte stream");
  cmd->add_flag("--quiet", a->quiet, "print nothing");
  addErrorOptions(*cmd, *a);
  cmd->footer("example: gnx simulate sky --hours 1 --systems GEC --interval 1 --rtcm");
  cmd->callback([cmd, a] { runSimulate(*cmd, *a); });
}

}  // namespace gnx
