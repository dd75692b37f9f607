#pragma once
/// \file antex_file.h
/// Antenna blocks in the ANTEX 1.4 format, read and written without RMS sections. The engine applies
/// phase-centre offsets and no patterns; patterns are for the host. Azimuth rows make up most of a file:
/// a deployment keeps those of its own receiver antenna alone.

#include <filesystem>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "gnx/adapt.h"
#include "gnx/satellite.h"

namespace gnx {

struct AntexFrequency {
  std::string code;                ///< "G01"
  std::vector<std::string> lines;  ///< between START and END OF FREQUENCY, without azimuth rows
  std::vector<std::string> azimuthRows;
};

struct AntexBlock {
  std::string type;    ///< 20 characters
  std::string serial;  ///< satellite name, or the receiver antenna's serial number, without blanks
  std::string svn;     ///< "G063", satellites only
  std::string launch;
  TableTime from{}, until{};
  std::vector<std::string> head;  ///< lines from TYPE / SERIAL NO to the first frequency
  std::vector<AntexFrequency> frequencies;

  bool isSatellite() const;
  void dropAzimuthRows();
  /// Turns the offsets half a turn about body z.
  void reverseAxes();
  /// Gives the block another type, 20 characters at most.
  void setType(const std::string& name);
  const AntexFrequency* find(const std::string& code) const;
};

/// \throws InputError: not an ANTEX file, relative patterns, a block without end
std::vector<AntexBlock> readAntex(const std::filesystem::path& path);
void writeAntex(std::ostream& out, const std::vector<AntexBlock>& blocks, const std::string& comment);

/// Distances of satellites' phase centres from their centres of mass towards the Earth, m, by satellite and
/// band digit, from the blocks that are valid at a time.
PhaseCentreHeights phaseCentreHeights(const std::vector<AntexBlock>& blocks, const TableTime& time);

/// The table row that a satellite's block describes.
SatelliteRecord satelliteOf(const AntexBlock& block);

/// A satellite block with nominal offsets of its block type (the built-in table).
/// An unlisted type gives a block without frequencies.
AntexBlock nominalBlock(const SatelliteRecord& satellite, std::string_view offsetTable);

/// Adds a frequency that the block lacks with the offsets of the nearest one (`hz`); models of older
/// satellites know L1 and L2 alone. \return whether the block now has it
bool completeFrequency(AntexBlock& block, const std::string& code, double hz);

}  // namespace gnx
