#pragma once
/// \file deployment.h
/// Writes a complete run directory for the engine: "ppp.json" and every file that it names.
///
/// What a deployment needs and is not given comes from the data built into the program; every such
/// stand-in is told in a line of `notes`. docs/configuration.md describes each file.

#include <array>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>

#include "formats/records.h"

namespace gnx {

/// What the host passes to the engine by argument instead of by "ppp.json".
struct RunSettings {
  std::string mode = "static";         ///< "static", "kinematic" or "dynamic"
  double interval_s = 30.0;            ///< processing interval; 1.0 takes every epoch
  double cutoff_deg = 7.0;             ///< elevation mask
  std::string stationName = "STAN";    ///< for reports; the engine's own name is always STAN
  std::string antenna;                 ///< 20 characters, type and radome; "" = take the observations' header
  std::array<double, 3> position_m{};  ///< a-priori ECEF; all zero = unknown
  std::array<double, 3> antennaDelta_m{};  ///< reference point above the marker: east, north, up
  bool hasAntennaDelta = false;            ///< false = take the observations' header
};

/// The choices behind a deployment. Defaults: GPS and Galileo, two frequencies, uncombined, float
/// ionosphere and zenith delay, ambiguity resolution prepared.
struct DeploymentOptions {
  /// Letters of G (GPS), R (GLONASS), E (Galileo), C (BeiDou-3), B (BeiDou-2), J (QZSS).
  std::string systems = "GE";
  /// Frequency lists such as "GPS:L1_L2 GAL:E1_E5a"; systems not named keep their default pair.
  /// Used frequencies are among the observed ones; "" = the observed ones (SF: the first of them).
  std::string freqobs, freqused;
  std::string combination = "RAW";  ///< RAW, IF, AFIF or SF
  /// Sigma of codes above 30 degrees of elevation to begin with; none: usual ones.
  std::optional<double> codeNoise_m;
  std::string refpoint = "CoM_ITRF";  ///< CoM_ITRF or APC_ITRF: what the orbits refer to
  std::filesystem::path antex;        ///< antenna file, plain or .gz; "" = nominal satellite offsets
  std::filesystem::path grid;         ///< GPT2w grid of 1 degree; "" = built-in coarser climatology
  std::filesystem::path blq;          ///< ocean loading; "" = none
  std::filesystem::path erp;          ///< Earth rotation; "" = the secular pole
  bool resolution = true;             ///< ambiguity levels "wl" and "n1" (and "ewl" with three frequencies)
  bool biasProducts = true;           ///< phase biases come with the corrections ("upd_switch")
  GpsTime date;                       ///< date of the data: validity of satellites and antennas; zero = now
  RunSettings run;
  int traceLevel = 4;  ///< 0 everything .. 4 errors alone
  /// Values that replace what the choices would give, by dotted key of "ppp.json"
  /// ("common.ionmodel" -> "ION_NONE") or, behind "amb.", of the ambiguity file
  /// ("amb.n1.lambda.success_rate" -> "2.5"). A key that does not exist is refused.
  std::map<std::string, std::string> overrides;
};

/// Checks the choices and writes the deployment; `dir` is made when it does not exist. Files of an
/// earlier deployment in it are replaced.
/// \throws UsageError for inconsistent choices (a sentence), InputError for unreadable files.
void writeDeployment(const std::filesystem::path& dir, const DeploymentOptions& options, std::ostream& notes);

/// \throws UsageError, a sentence, for values that make no run
void checkRunSettings(const RunSettings& run);
/// The settings file of a deployment ("gnx.json").
void writeRunSettings(const std::filesystem::path& dir, const RunSettings& settings);
/// \throws InputError when the file is absent or damaged, or holds values that make no run.
RunSettings readRunSettings(const std::filesystem::path& dir);

}  // namespace gnx
