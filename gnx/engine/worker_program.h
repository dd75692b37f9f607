#pragma once
/// \file worker_program.h
/// Where the executable of the worker is.

#include <filesystem>

namespace gnx {

/// What is named, else what GNX_WORKER names, else the one beside this library, in the tree of a build as in
/// an installed one. \throws EngineError when there is none
std::filesystem::path workerProgram(const std::filesystem::path& named);

}  // namespace gnx
