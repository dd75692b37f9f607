#pragma once
/// \file own_output.h
/// Bounds what a worker prints.

#include <cstdint>
#include <filesystem>

namespace gnx {

/// When standard output is a file that has grown to so many bytes, it goes on in a new one under the name
/// `file`, and what there was stays beside it as "file.1"; standard error goes along. 0: no bound.
void boundOutput(const std::filesystem::path& file, std::int64_t bytes);

}  // namespace gnx
