#pragma once
/// \file solution_files.h
/// Solutions as text: the common .pos layout, CSV for machines, NMEA GGA sentences.
///
/// Times in .pos and CSV are GPS time, in NMEA they are UTC. Coordinates are WGS 84 / ITRF,
/// earth-fixed metres, in CSV and NMEA also geodetic degrees and ellipsoidal metres. The engine does not
/// publish formal deviations: the columns sdx, sdy, sdz, sdxy, sdyz, sdzx of a .pos file are zero.

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "run/solution.h"

namespace gnx {

enum class SolutionFormat {
  posXyz,  ///< .pos, earth-fixed coordinates
  csv,     ///< every field of SolutionEpoch, with a line of column names
  nmea,    ///< $GPGGA, CR LF
};

/// Satellites of an epoch, all systems.
int satelliteCount(const SolutionEpoch& epoch);
/// True when the epoch carries a position of that epoch (and not the last state of the filter).
bool isSolved(const SolutionEpoch& epoch);

/// The lines before the first solution, each ended; `comments` become "% ..." lines of a .pos file.
std::string solutionHeader(SolutionFormat format, const std::vector<std::string>& comments = {});
/// One solution as one line, ended. Empty for an epoch without a solution, except in CSV.
/// Quality of .pos: 1 fixed, 2 float, 5 code only. Quality of GGA: 4 fixed, 5 float, 1 code only.
std::string solutionText(SolutionFormat format, const SolutionEpoch& epoch);

/// A file that grows by one epoch at a time; every line reaches the system when it is written, so a
/// run that breaks off leaves what it had. Throws InputError when the file cannot be written.
class SolutionFile {
 public:
  SolutionFile(const std::filesystem::path& path, SolutionFormat format,
               const std::vector<std::string>& comments = {});
  void write(const SolutionEpoch& epoch);

 private:
  std::filesystem::path m_path;
  SolutionFormat m_format;
  std::ofstream m_out;
};

}  // namespace gnx
