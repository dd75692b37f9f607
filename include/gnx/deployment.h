#pragma once
/// \file deployment.h
/// A deployment: the directory of files from which the engine starts. Making one, opening one, checking it,
/// having it explained.
///
/// What a deployment needs and is not given comes from data built into this library; every such stand-in is
/// told in a note. docs/configuration.md describes each file.

#include <array>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "gnx/geodesy.h"
#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// How the receiver moves.
enum class Mode {
  static_,    ///< not at all
  kinematic,  ///< freely
  dynamic,    ///< with a velocity that changes slowly
};
/// "static", "kinematic", "dynamic"
const char* nameOf(Mode mode);
/// \throws UsageError
Mode parseMode(const std::string& text);

/// To which of Galileo's messages corrections refer; the clocks of the two kinds are centimetres to
/// decimetres apart.
enum class GalileoKind {
  automatic,  ///< what the corrections of files tell where both kinds are known; else F/NAV, without any
              ///< I/NAV
  fnav,
  inav,
};
/// "auto", "fnav", "inav"
const char* nameOf(GalileoKind kind);
/// \throws UsageError
GalileoKind parseGalileoKind(const std::string& text);

/// What a host tells the engine beside the files of the deployment.
struct RunSettings {
  Mode mode = Mode::static_;
  double interval_s = 30.0;          ///< processing interval; 1.0 takes every epoch
  double cutoff_deg = 7.0;           ///< elevation mask
  std::string stationName = "STAN";  ///< for reports; the engine's own name is always STAN
  std::string antenna;               ///< 20 characters, type and radome; "" = take the observations' header
  std::string receiver;              ///< "" = take the observations' header
  Vector3 position_m{};              ///< a-priori, earth-fixed; all zero = unknown
  bool headerPosition = false;       ///< take the position of the observations' header instead
  std::optional<Vector3> antennaDelta_m;               ///< reference point above the marker: east, north, up;
                                                       ///< none = take the observations' header
  bool patterns = true;                                ///< antenna patterns are taken off the observations
  std::map<char, std::vector<std::string>> signals{};  ///< signals to use by system, "1W"; none = chosen
  std::set<SatName> excluded{};                        ///< satellites never handed over
  GalileoKind galileo = GalileoKind::automatic;        ///< messages to which corrections refer
};

/// \throws UsageError, a sentence, for values that make no run
void checkRunSettings(const RunSettings& run);

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
  /// Sigma of a new slant delay of the ionosphere, against 0 or the maps that come off the observations;
  /// none: unknown (30 m).
  std::optional<double> ionosphereSigma_m;
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

/// A directory with a complete "ppp.json" and the files that it names.
class Deployment {
 public:
  /// Checks the choices and writes the files; the directory is made when it does not exist. Files of an
  /// earlier deployment in it are replaced.
  /// \throws UsageError for inconsistent choices (a sentence), InputError for unreadable files
  static Deployment make(const std::filesystem::path& directory, const DeploymentOptions& options);
  /// \throws UsageError for a directory without a deployment, InputError for damage
  static Deployment open(const std::filesystem::path& directory);

  /// Absolute.
  const std::filesystem::path& directory() const { return m_directory; }
  /// What make() filled in for what it was not given, sentences.
  const std::vector<std::string>& notes() const { return m_notes; }

  /// What the host tells the engine; an engine takes them as they are when it is made.
  RunSettings settings;

  /// What would keep the engine from starting or from fixing integers, in sentences; empty for none.
  /// \throws UsageError when integers would be wrong
  std::vector<std::string> check() const;
  /// Looks through the files that it names: whether they are there, and rows of leap seconds, satellites,
  /// vehicles, ratio thresholds, pole, names of files and antennas.
  /// \param date  of a run; vehicles and leap seconds are held against it
  /// \throws InputError with the line that the engine would not take, or would take for something else
  void checkTables(const std::optional<GpsTime>& date = {}) const;
  /// Keys of its files that nobody reads, in sentences with the nearest key that is read; check() tells them
  /// too.
  std::vector<std::string> unknownKeys() const;
  /// The deployment in words: systems and frequencies, combination, orbits, antennas, integers, noise.
  void explain(std::ostream& out) const;

  /// Places the files into another directory, which is made when it does not exist: the configuration as
  /// copies, data files as links. What runs have left in the deployment stays behind.
  void lend(const std::filesystem::path& directory) const;

  // ---- what it says ----

  /// Band digits by system letter, "12".
  std::map<char, std::string> bands() const;
  /// Whether orbits refer to the satellites' centres of mass (else to their antennas).
  bool toMassCentre() const;
  /// Whether a level of the ambiguity resolution is on.
  bool resolvesIntegers() const;
  /// Who applies antenna patterns: the engine in its model (key "pcv", PCV_APPLY), or else the host, which
  /// takes them off the observations (PatternCorrector) unless its settings say otherwise. Both would apply
  /// them twice.
  bool engineAppliesPatterns() const;
  /// A file of the deployment by its key ("antpcv", "satnav", ...); "" when there is none.
  std::filesystem::path file(const std::string& key) const;

 private:
  explicit Deployment(const std::filesystem::path& directory);

  std::filesystem::path m_directory;
  std::vector<std::string> m_notes;
};

/// The choices of run settings in a deployment ("gnx.json").
void writeRunSettings(const std::filesystem::path& directory, const RunSettings& settings);
/// \throws InputError when the file is absent or damaged, or holds values that make no run.
RunSettings readRunSettings(const std::filesystem::path& directory);

}  // namespace gnx
