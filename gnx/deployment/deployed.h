#pragma once
/// \file deployed.h
/// What a written deployment says, read back: the values that the host and the engine have to share.

#include <filesystem>
#include <map>
#include <string>

namespace gnx {

/// Band digits by system letter that a deployment observes ("freqobs" of its "ppp.json"), in the
/// engine's numbering (BeiDou B1I is 2, B3I is 6). Throws InputError.
std::map<char, std::string> deployedBands(const std::filesystem::path& deployment);

/// Whether a deployment's orbits refer to the centre of mass, so that the engine applies satellite antenna
/// offsets. Throws InputError.
bool deployedToMassCentre(const std::filesystem::path& deployment);

/// Whether the engine applies antenna patterns itself ("pcv"), so that the host leaves them in. Throws
/// InputError.
bool deployedPatterns(const std::filesystem::path& deployment);

/// Whether any level of a deployment resolves integers. Throws InputError.
bool deployedResolution(const std::filesystem::path& deployment);

/// The data file behind a key of the deployment's file table, such as "antpcv"; "" when the table names none.
/// \throws InputError for damaged configuration files
std::filesystem::path deploymentFile(const std::filesystem::path& deployment, const std::string& key);

}  // namespace gnx
