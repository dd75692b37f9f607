#pragma once
/// \file track_files.h
/// Solutions as tracks for maps: GPX 1.1, KML 2.2, GeoJSON (RFC 7946).
///
/// Times are UTC. Heights are ellipsoidal in all of them, which the files say: without a geoid there are no
/// others.

#include <filesystem>
#include <string>
#include <vector>

#include "run/solution.h"

namespace gnx {

enum class TrackFormat { gpx, kml, geoJson };

/// "solution.gpx" and so on.
std::string trackFileName(TrackFormat format);

/// Positions of the epochs that have one; a line ends where epochs are missing.
std::string trackText(TrackFormat format, const std::string& name, const std::vector<SolutionEpoch>& epochs);
/// \throws InputError when the file cannot be written
void writeTrack(const std::filesystem::path& directory, TrackFormat format, const std::string& name,
                const std::vector<SolutionEpoch>& epochs);

}  // namespace gnx
