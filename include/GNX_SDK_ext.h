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

/// The solution of an epoch as numbers.
struct Result {
  GNX_IO::gtime_t time{};  ///< GPS time
  int state = 0;           ///< 0 none, 1 codes, 2 float, 3 and 4 with wide-lanes, 5 fixed
  int fixed = 0;           ///< satellites with integers of the last level, references included
  double ratio = 0.0;      ///< of the last level's search
  double sigma0 = 0.0;     ///< of unit weight
  double position[3]{};    ///< as in the solution line, m, earth-fixed; zeros without a solution
  double covariance[9]{};  ///< of the position, m^2, by rows
};
using ResultListener = std::function<void(const Result&)>;

/// Registers a listener of results; it is called inside GNX_inputObs once for every epoch that is a tick,
/// under the rules of event listeners. \return a number above 0, for removeListener; 0 for an empty listener
int addResultListener(ResultListener listener);

// ---- options ----

/// Sets the output options ("-outres", "-oution", "-outztd", "-outclk", "-outfix", "-outint",
/// "-outambstat", "-outobsstat", "-outflag", "-outaccount", "-gensig") between GNX_initialize and
/// GNX_finilize, also between epochs; at most 1023 characters. "-float" among them leaves the integers of the
/// epochs that follow unresolved, for hosts that know that their corrections cannot carry them just now.
std::string setOutputOptions(const std::string& options);

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
