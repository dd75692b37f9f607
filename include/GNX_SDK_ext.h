#pragma once
/// \file GNX_SDK_ext.h
/// What a host may ask of the engine beyond the entry points of GNX_SDK.h.
///
/// No function lets an exception out or ends the process. Functions that can fail return what is wrong as
/// a sentence, or "" when all went well; their results are then complete, and unchanged otherwise.
///
/// Threads: events and store files belong to the thread of GNX_initialize and GNX_inputObs, and so do the
/// options. File names and headers may be made on any thread.

#include <array>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "GNX_IO.h"

namespace GNX_EXT {

// ---- events ----

/// Name of the event and its values by key, all text. Every event has "mjd" and "sod" (GPS time).
///
///   fix_gained     "fixed" satellites, "ratio"
///   fix_lost       "reason": restart, norows (no observation was used), unresolved; "status" of the epoch
///   satellite_in   "satellite", "elevation" (degrees): its observations are used (again)
///   satellite_out  the same; "reason" when the option "-outaccount" is set: "unobserved" or a word of the
///                  account of observations
///   restart        "reason": request (GNX_restart) or interval (periodic restarts)
///   configuration  "file", "satellites", "systems", "interval" (s): GNX_initialize has read it
///   resumed        a saved state was tried at its first epoch: "held" satellites whose arcs go on, "broken"
///   ones
///                  by name; "why" when everything begins anew
using EventListener =
    std::function<void(const std::string& event, const std::map<std::string, std::string>& values)>;

std::vector<std::string> eventNames();

/// Registers a listener of one event, or of all with "". Listeners outlive GNX_finilize; one for the
/// configuration is registered before GNX_initialize. They are called inside the entry points, in the order
/// in which they were registered; they may add and remove listeners but call no entry point. An exception
/// of a listener is noted in the status log and goes no further.
/// \return a number above 0; 0 for an unknown event or an empty listener
int addListener(const std::string& event, EventListener listener);
/// \return whether there was such a listener, of events or of results
bool removeListener(int number);

// ---- results ----

/// What became of a code or phase value that came in, in the order in which an epoch meets the causes.
enum class Fate : unsigned char {
  absent,         ///< no value came in
  open,           ///< still in, while the epoch runs
  used,           ///< in a row of the filter
  notConfigured,  ///< satellite is not in the satellite table
  noSlot,         ///< band is not among the observed frequencies
  impossible,     ///< not finite, or out of range
  replaced,       ///< a later signal of the same band took the slot
  partner,        ///< too few signals of the satellite
  codes,          ///< pseudoranges of the satellite disagree
  noBias,         ///< no code bias
  noPhaseBias,    ///< no phase bias
  noTick,         ///< epoch is none of the interval
  system,         ///< system is not processed
  ifpb,           ///< no third-frequency bias
  unused,         ///< frequency is observed, not used
  noCorrection,   ///< no correction within reach of the epoch
  noOrbit,        ///< satellite without orbit correction or attitude
  noClock,        ///< satellite without clock correction
  noMessage,      ///< no current broadcast message of the satellite
  noIssue,        ///< no broadcast message of the issue that the correction names
  noPosition,     ///< receiver position unknown
  lowElevation,   ///< below the mask
  range,          ///< code residual stands out
  noRoom,         ///< more satellites than the arrays hold
  epoch,          ///< too few satellites in the epoch
  noRow,          ///< left out by the combination
  count
};
inline constexpr std::size_t kFates = static_cast<std::size_t>(Fate::count);
/// Its word in the diagnostics: "used", "lowelev".
const char* fateName(Fate fate);

/// The levels of the integer resolution, each rests on the one before it.
enum class Level : int {
  extraWideLane,  ///< two close frequencies, wavelengths of metres
  wideLane,       ///< wavelengths of about 0.8 m
  last,           ///< narrow-lane or first frequency, 0.1 to 0.2 m: what makes the position precise
};

/// Why an epoch has no higher state.
enum class Reason : unsigned char {
  none,           ///< it is fixed
  noObservation,  ///< nothing came in that can be used
  noProduct,      ///< no satellite has both orbit and clock
  noPosition,     ///< the codes gave no receiver position
  fewSatellites,  ///< no system has enough satellites with residuals
  arrayFull,      ///< the filter has no room
  noRow,          ///< the combination makes no row of what there is
  codesOnly,      ///< the configuration uses no phases
  integersOff,    ///< the configuration or the option "-float" asks for no integers
  oldBiases,      ///< phase biases have ceased to arrive
  noCandidate,    ///< no ambiguity may enter the last level: young arcs, low satellites, missing biases
  uncertain,      ///< the integers of the last level are not certain enough
  undetermined,   ///< the integers that are certain do not determine the position
};

/// A code or phase value in the solution. Values without a row of their own have sigma 0; of a combined row
/// (obscomb IF) all stands on the first band of its pair.
struct ValueResult {
  Fate fate = Fate::absent;
  double residual_m = 0.0;       ///< observed minus computed, with the integers of the epoch
  double floatResidual_m = 0.0;  ///< the same without them
  double sigma_m = 0.0;          ///< with which the filter took it
};

/// A frequency of a satellite.
struct BandResult {
  char band[4] = "";    ///< of the configuration: "L1"
  char signal[4] = "";  ///< observed: "1C"
  double snr_dBHz = 0.0;
  ValueResult code{}, phase{};
  bool hasAmbiguity = false;
  double wavelength_m = 0.0;  ///< unit of the ambiguity
  double ambiguity = 0.0;     ///< of the solution
  double arc_s = 0.0;         ///< since its arc began
  int arcStart = 0;  ///< 1 new, 2 gap, 3 or 4 slip, 5 restart, 6 outlier treatment, 7 the same, withdrawn
};

/// A satellite of which at least one value came in.
struct SatelliteResult {
  char name[4] = "";  ///< "G05"
  double azimuth_deg = 0.0, elevation_deg = 0.0;
  int bands = 0;         ///< so many entries of `band` count
  BandResult band[4]{};  ///< in the order of the configuration
  bool hasIonosphere = false;
  double ionosphere_m = 0.0, ionosphereSigma_m = 0.0;  ///< slant delay of the first band
};

/// An ambiguity between two satellites that took part in a level.
struct IntegerResult {
  Level level = Level::last;
  char satellite[4] = "", reference[4] = "";
  char bands[2][4] = {
      "", ""};         ///< both for the difference of two bands, the first alone for one; "" when combined
  double value = 0.0;  ///< cycles, biases removed, before the integers of the level
  bool fixed = false;
  int integer = 0;  ///< when fixed
};

/// What a level came to.
struct LevelResult {
  int fixed = 0;       ///< satellites, references included
  double ratio = 0.0;  ///< of the search
};

/// A receiver clock: of the reference system, or the offset of another system from that one.
struct ClockResult {
  char system = 0;  ///< letter; B is BeiDou-2, C BeiDou-3
  bool isOffset = false;
  double value_m = 0.0, sigma_m = 0.0;
};

struct ZenithDelay {
  double aprioriHydrostatic_m = 0.0, aprioriWet_m = 0.0;
  double correction_m = 0.0;  ///< to the wet delay; the total is the sum of the three
  double sigma_m = 0.0;       ///< of the correction, 0 when the delay is not estimated
};

/// Dilutions of precision: geometry, position, horizontal, vertical.
struct Dop {
  double g = 0.0, p = 0.0, h = 0.0, v = 0.0;
};

/// Epoch minus time of the corrections in use, s; not a number where there are none.
struct CorrectionAges {
  double orbitClock_s = std::numeric_limits<double>::quiet_NaN();
  double phaseBias_s = std::numeric_limits<double>::quiet_NaN();
  double codeBias_s = std::numeric_limits<double>::quiet_NaN();  ///< of the newest
};

/// What became of the values of a system in this epoch: values = sum of the counts.
struct AccountResult {
  char system = 0;                  ///< G R E C J S; ? for satellites of no system
  int values = 0;                   ///< code and phase values that came in
  std::array<int, kFates> count{};  ///< by Fate
};

/// All that an epoch gave.
struct Result {
  GNX_IO::gtime_t time{};       ///< GPS time
  int state = 0;                ///< 0 none, 1 codes, 2 float, 3 and 4 with wide-lanes, 5 fixed
  int fixed = 0;                ///< satellites with integers of the last level, references included
  double ratio = 0.0;           ///< of the last level's search
  double sigma0 = 0.0;          ///< of unit weight
  double position[3]{};         ///< as in the solution line, m, earth-fixed; zeros without a solution
  double covariance[9]{};       ///< of the position, m^2, by rows
  std::array<int, 6> counts{};  ///< satellites with a code residual: G, R, E, C (BeiDou-3), B (BeiDou-2), J
  Reason reason = Reason::none;
  std::string why{};  ///< the reason as a sentence; "" when there is none
  Dop dop{};
  std::vector<ClockResult> clocks{};  ///< the reference system's first
  ZenithDelay zenith{};
  CorrectionAges ages{};
  std::array<LevelResult, 3> levels{};  ///< by Level
  std::vector<SatelliteResult> satellites{};
  std::vector<IntegerResult> integers{};
  std::vector<AccountResult> account{};
};
using ResultListener = std::function<void(const Result&)>;

/// Registers a listener of results; it is called inside GNX_inputObs once for every epoch that is a tick,
/// under the rules of event listeners. \return a number above 0, for removeListener; 0 for an empty listener
int addResultListener(ResultListener listener);

/// The last epoch as a line of a position file, with its line break; "" when it has no solution. On the
/// thread of GNX_inputObs, in a listener or between epochs.
std::string positionLine();
/// The same as NMEA GGA sentence.
std::string ggaSentence();

// ---- options ----

/// Sets the output options ("-outres", "-oution", "-outztd", "-outclk", "-outfix", "-outint",
/// "-outambstat", "-outobsstat", "-outflag", "-outaccount", "-gensig") between GNX_initialize and
/// GNX_finilize, also between epochs; at most 1023 characters. "-float" among them leaves the integers of the
/// epochs that follow unresolved, for hosts that know that their corrections cannot carry them just now.
std::string setOutputOptions(const std::string& options);

/// Bounds the files that grow with every epoch, for hosts that run for months: ppp_pos and the like begin
/// anew at so many bytes, and what they held stays beside as NAME.1; of the status and trace files, which are
/// put aside every two hours, the last 24 stay. 0: no bound, as at the start. On any thread.
void boundLogs(std::int64_t bytes);
/// Satellite biases are kept for so many seconds instead of three days, for hosts that get them every few
/// seconds for months: 0.3 MB an hour of two systems' biases every five seconds. Behind GNX_initialize.
std::string boundBiases(double seconds);

// ---- clock ----

/// The wall clock as the engine reads it from now on, s since 1970, UTC; 0: time() again. For hosts that
/// replay and that have no time() of their own; on any thread.
void setClock(std::int64_t utcSeconds);

// ---- state ----

/// What the engine knows between two epochs, as bytes that the same build in the same configuration can go on
/// from. Observations, corrections and biases are not in it: the next run is fed its own.
std::string saveState(std::string& state);
/// Goes on from a saved state: behind GNX_initialize, before the first epoch. That epoch shows whether the
/// state still holds, and the event "resumed" tells: it must be of the next five minutes; the phases of each
/// satellite are held against what the state predicts, and so is the place of the antenna. What does not hold
/// begins anew: single arcs, or everything.
std::string resumeState(const std::string& state);

// ---- configuration ----

/// A level of the integer resolution, by the values of the ambiguity file.
struct IntegerLevel {
  bool resolution = false;
  std::string type{};  ///< amb_type: "raw", "mw", "NL"
  bool updSwitch = false;
  std::string updType{};  ///< "comb", "snx"
  bool mwFix = false;
};
struct IntegerSettings {
  std::string combination{}, ionosphere{};  ///< obscomb, ionmodel
  bool osb = false;                         ///< osb_switch
  std::array<IntegerLevel, 3> levels{};     ///< ewl, wl, n1
};
struct IntegerFault {
  bool wrong = false;  ///< integers would be wrong; else they are never fixed
  std::string sentence{};
};
/// Why settings would give wrong integers or none, and what works; empty for settings that fix. Needs no
/// running engine. The engine notes the same sentences in its status log when it loads a configuration.
std::vector<IntegerFault> integerFaults(const IntegerSettings& settings);

/// What GNX_initialize would make of a deployment.
struct DeploymentCheck {
  bool usable = false;
  std::string fault{};               ///< the sentence with which it would end the process
  std::vector<std::string> notes{};  ///< what the status log would say up to there: which key, for instance
};
/// Loads the "ppp.json" of a directory and all that it names in a child process, which writes nothing and
/// leaves an engine that runs here alone. Takes as long as GNX_initialize. Call it where fork is allowed.
DeploymentCheck checkDeployment(const std::string& directory);

// ---- file names ----

/// Expands a pattern such as "[SITE]_[YYYY][DDD][HH].pos" at a GPS time. The sentence for an unknown word
/// names it and lists those that there are.
/// \param station  text of the word SITE
std::string expandPattern(const std::string& pattern, const std::string& station, GNX_IO::gtime_t time,
                          std::string& name);
/// The pattern of a keyword in a table of patterns: lines "keyword pattern" below a line
/// "mirva_file_name".
/// \param file  "" means the file behind "predefine" of the loaded configuration
std::string readPattern(const std::string& file, const std::string& keyword, std::string& pattern);

// ---- product files ----

/// Header of an SP3-d file of positions and clocks. GPS time.
struct OrbitFile {
  GNX_IO::gtime_t first{};  ///< first epoch
  int epochs = 0;
  double interval_s = 0.0;
  std::vector<std::string> satellites{};  ///< "G05", at most 999
  std::string frame = "ITRF";             ///< at most 5 characters
  std::string orbitType = "FIT";          ///< FIT, EXT or BCT, at most 3 characters
  std::vector<std::string> comments{};    ///< at most 77 characters each
};
std::string orbitFileHeader(const OrbitFile& file, std::string& header);

/// Header of a RINEX 3.00 clock file of satellites, GPS time.
struct ClockFile {
  GNX_IO::gtime_t made{};  ///< when the file is made, UTC
  int leapSeconds = 0;     ///< GPS minus UTC
  std::vector<std::string> satellites{};
  std::vector<std::string> comments{};  ///< at most 60 characters each
};
std::string clockFileHeader(const ClockFile& file, std::string& header);

// ---- stores ----

/// Writes what the engine holds at this moment into the output directory of the configuration: its broadcast
/// messages as a RINEX navigation file ("brdm" day, hour letter, quarter of an hour, ".yyp") and its last
/// 120 correction records as text ("ssr" week, day, ".ssr"). Files of the same names are replaced.
/// \param time   GPS time, for the names
/// \param files  names of the two files
std::string writeStoreFiles(GNX_IO::gtime_t time, std::vector<std::string>& files);

}  // namespace GNX_EXT
