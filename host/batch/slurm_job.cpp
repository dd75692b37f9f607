// Writes the script of an array job.

#include "batch/slurm_job.h"

#include <algorithm>

#include "batch/run_process.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr std::size_t kMostTasks = 1000;  ///< clusters take no more unless told to

/// For the shell, whatever is in it.
std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char c : word) {
    if (c == '\'') text += "'\\'";
    text += c;
  }
  return text += '\'';
}

}  // namespace

std::string slurmJob(const std::vector<std::string>& words, const std::filesystem::path& directory,
                     std::size_t chains) {
  const std::size_t tasks = std::clamp<std::size_t>(chains, 1, kMostTasks);
  const std::string logs = std::filesystem::absolute(directory / "slurm-%a.log").string();
  std::string command = quoted(ownProgram());
  for (const std::string& word : words) command.append(1, ' ').append(quoted(word));
  const std::string::size_type behind = command.find(" 'batch'") + 8;
  std::string task = command;
  task.insert(behind, printed(" --part \"$SLURM_ARRAY_TASK_ID/%zu\" --jobs 1", tasks));
  return printed(
             "#!/bin/sh\n#SBATCH --job-name=gnx-batch\n#SBATCH --array=0-%zu\n#SBATCH --ntasks=1\n"
             "#SBATCH --cpus-per-task=1\n",
             tasks - 1) +
         "#SBATCH --chdir=" + std::filesystem::current_path().string() + "\n#SBATCH --output=" + logs + "\n" +
         "# Submit with sbatch. When all tasks have ended, the same command without --slurm writes table "
         "and\n"
         "# page, and runs what is left:\n# " +
         command + "\nexec " + task + "\n";
}

}  // namespace gnx
