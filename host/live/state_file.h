#pragma once
/// \file state_file.h
/// The state of a live run between two starts of it: a file that is whole or not there.

#include <filesystem>
#include <optional>
#include <string>

namespace gnx {

/// Replaces the file; whoever reads it finds the old content or the new one, also behind a loss of power.
/// \throws InputError
void writeStateFile(const std::filesystem::path& path, const std::string& content);
/// The content; nothing when there is none. \throws InputError for a damaged file
std::optional<std::string> readStateFile(const std::filesystem::path& path);
/// Takes the content out: the file is gone, so that a run that fails over it fails once. Nothing when there
/// is none. \throws InputError for a damaged file
std::optional<std::string> takeStateFile(const std::filesystem::path& path);

}  // namespace gnx
