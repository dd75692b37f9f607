#pragma once
/// \file integer_check.h
/// Candidates of integer resolution as the engine reports them: how near they are to whole numbers, and,
/// on simulated data, whether they were fixed to the right ones.
///
/// Truth is what `gnx simulate` writes beside the observations ("truth_satellites.csv"): whole cycles by
/// satellite and signal, slips included. A difference of two frequencies must equal it exactly. The
/// ambiguity of a single frequency is known but for whole turns of the satellite's wind-up, which begin
/// anywhere: most of the fixes of an arc say how many they are, at most one. A satellite that is wrong by one
/// cycle throughout would pass, but not without moving the position by centimetres. A simulation that crosses
/// the end of a GPS week is judged up to there.

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/records.h"
#include "run/run_files.h"

namespace gnx {

/// Whole cycles of a simulation by satellite and band digit, over time.
class IntegerTruth {
 public:
  /// Nothing when there is no such file. \throws InputError for a damaged one.
  static std::optional<IntegerTruth> read(const std::filesystem::path& file);
  std::optional<double> cycles(const SatName& satellite, char band, const GpsTime& t) const;

 private:
  std::map<std::pair<SatName, char>, std::map<double, double>> m_from;  ///< from a second of the week on
};

/// An arc: one satellite against one reference at one level.
struct IntegerArc {
  double mean = 0.0;  ///< distance of its mean to the nearest whole number, cycles
  std::size_t count = 0;
};

struct LevelCheck {
  std::size_t candidates = 0, fixed = 0;
  std::size_t checked = 0, wrong = 0;  ///< fixes that the truth could judge
  std::vector<double> fractions;       ///< of all values, -0.5 to 0.5
  std::vector<IntegerArc> arcs;
};

struct IntegerCheck {
  std::map<std::string, LevelCheck> levels;
  std::size_t epochs = 0, wrongEpochs = 0;  ///< with fixes at any level; with a wrong one
  bool hasTruth = false;
};

inline constexpr double kNearInteger = 0.15;  ///< cycles
std::size_t arcsNearInteger(const LevelCheck& level);
double shareNearInteger(const LevelCheck& level);

IntegerCheck checkIntegers(const std::vector<IntegerSample>& samples,
                           const std::optional<IntegerTruth>& truth);

/// Name of a level for people.
const char* levelName(const std::string& level);

}  // namespace gnx
