// Any bytes as what a run has left: its table of solutions, its plan.

#include "fuzzed_file.h"
#include "run/run_files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    try {
      gnx::readSolutionCsv(path);
    } catch (const gnx::InputError&) {  // may be a plan
    }
    gnx::readRunPlan(path);
  });
}
