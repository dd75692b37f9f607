#pragma once
/// \file named_solutions.h
/// Solution files that are cut and named by the time: hourly, daily, by GPS week.
///
/// A name is a pattern such as "[SITE]_[YYYY][DDD][HH].pos"; a new file begins when the expanded name
/// changes. Its ending chooses the format: .csv and .nmea, all others are .pos files.

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "run/solution_files.h"

namespace gnx {

/// The pattern that an option names: the text itself, or for "@keyword" the pattern of that keyword in the
/// table of a deployment. Throws UsageError for words that no pattern knows, for names that leave the run
/// directory, and for "@keyword" without a deployment.
std::string solutionPattern(const std::string& text, const std::filesystem::path& deployment);

/// What stands for the station in file names: the first word of an observation file's marker name, else the
/// first four characters of the file's own name; letters and digits alone.
std::string stationWord(const std::string& observationFile);

class NamedSolutions {
 public:
  /// What becomes of a file that an earlier run has left.
  enum class Earlier { replaced, continued };

  /// \param comments  of every .pos file
  NamedSolutions(std::filesystem::path directory, std::string pattern, std::string station,
                 std::vector<std::string> comments, Earlier earlier = Earlier::replaced);
  /// Solutions in order of time. A name that comes again later is continued. Throws InputError when a file
  /// cannot be written.
  void write(const SolutionEpoch& epoch);
  /// Files begun so far.
  const std::set<std::filesystem::path>& files() const { return m_files; }

 private:
  void open(const std::string& name);

  std::filesystem::path m_directory;
  std::string m_pattern, m_station;
  std::vector<std::string> m_comments;
  Earlier m_earlier;
  std::string m_name;  ///< of the open file
  std::filesystem::path m_path;
  SolutionFormat m_format = SolutionFormat::posXyz;
  std::ofstream m_out;
  std::set<std::filesystem::path> m_files;
};

}  // namespace gnx
