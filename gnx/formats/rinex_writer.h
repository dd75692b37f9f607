#pragma once
/// \file rinex_writer.h
/// RINEX 3.04 observation and navigation files.
///
/// Reference: RINEX, The Receiver Independent Exchange Format, version 3.04 (IGS/RTCM, 2018).

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// Writes an observation file epoch by epoch. `header.types` gives the observation types by system
/// letter; a value that an epoch lacks, or that does not fit F14.3, leaves its field blank.
/// Throws InputError when the file cannot be written.
class RinexObsWriter {
 public:
  RinexObsWriter(const std::filesystem::path& path, const ObsHeader& header, const GpsTime& first);
  void write(const ObsEpoch& epoch);

 private:
  void check();

  std::filesystem::path m_path;
  ObsHeader m_header;
  std::ofstream m_out;
};

/// Writes a mixed navigation file (GPS, Galileo, BeiDou, QZSS), messages in the order given. BeiDou times
/// are written in BDT. Throws InputError when the file cannot be written.
void writeRinexNav(const std::filesystem::path& path, const std::vector<BroadcastEph>& messages);

}  // namespace gnx
