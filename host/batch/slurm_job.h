#pragma once
/// \file slurm_job.h
/// A batch as an array job of a Slurm cluster: each task does its part of the runs.

#include <filesystem>
#include <string>
#include <vector>

namespace gnx {

/// The script for sbatch.
/// \param words  of the command line behind `gnx`, without --slurm
/// \param chains  of runs that can go beside each other; so many tasks at most
std::string slurmJob(const std::vector<std::string>& words, const std::filesystem::path& directory,
                     std::size_t chains);

}  // namespace gnx
