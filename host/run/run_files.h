#pragma once
/// \file run_files.h
/// What a run left in its directory, read back for a report.

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gnx/account.h"
#include "run/run_plan.h"
#include "run/solution.h"

namespace gnx {

/// One residual of the float solution.
struct Residual {
  GpsTime time;
  SatName satellite;
  bool phase = false;
  double elevationDeg = 0.0, azimuthDeg = 0.0;
  double value = 0.0;   ///< m
  double weight = 0.0;  ///< 1/sigma, 1/m
};

/// A quantity over time.
struct Sample {
  GpsTime time;
  double value = 0.0;
};

/// Ambiguity resolution at one level.
struct LevelSample {
  GpsTime time;
  int fixed = 0;  ///< satellites
  double ratio = 0.0;
};

/// An ambiguity from its beginning on.
struct PhaseArc {
  SatName satellite;
  GpsTime from;
  int beginning = 0;  ///< as the engine tells it: 1 new, 2 gap, 3 and 4 slip, 5 restart, 6 outlier
  bool slipped() const { return beginning == 3 || beginning == 4; }
};

/// A value above the elevation mask that was not used.
struct Rejection {
  GpsTime time;
  SatName satellite;
  std::string reason;  ///< as in "account.csv"
};

/// One candidate of integer resolution in one epoch, between two satellites.
struct IntegerSample {
  GpsTime time;
  SatName satellite, reference;
  std::string level;           ///< "ewl", "wl", "n1"
  std::string slots;           ///< "L1-L2" difference of two frequencies, "L1" one
  double value = 0.0;          ///< float, cycles
  std::optional<int> integer;  ///< what it was fixed to
};

struct RunFiles {
  std::filesystem::path directory;
  RunPlan plan;
  bool finished = true;  ///< false: it was killed, or is still going on
  std::vector<SolutionEpoch> epochs;
  RunAccount account;                                         ///< empty: none kept
  std::string signals;                                        ///< plan of signals and notes, as text
  std::vector<std::string> integerRemarks;                    ///< what was decided about integers, sentences
  std::vector<std::pair<std::string, std::string>> settings;  ///< of the engine, name and value
  std::vector<Residual> residuals;                            ///< empty: none kept
  std::vector<Sample> zenithDelay;                            ///< total, m
  std::vector<Sample> zenithDry;                              ///< hydrostatic part of it, m
  std::vector<PhaseArc> arcs;                                 ///< empty: none kept
  std::vector<Rejection> rejections;
  std::map<SatName, std::vector<Sample>> ionosphere;  ///< slant delay on the first frequency, m
  std::map<char, std::vector<Sample>> clocks;         ///< m; others than `clockSystem` are offsets
  char clockSystem = 'G';
  std::map<std::string, std::vector<LevelSample>> levels;  ///< "ewl", "wl", "n1"
  std::vector<IntegerSample> integers;                     ///< empty: none kept
};

/// Throws InputError when the directory holds no run. Files that a run may leave out make empty members.
RunFiles readRunFiles(const std::filesystem::path& directory);

/// Reads "solution.csv" as solutionText writes it. Throws InputError.
std::vector<SolutionEpoch> readSolutionCsv(const std::filesystem::path& file);

}  // namespace gnx
