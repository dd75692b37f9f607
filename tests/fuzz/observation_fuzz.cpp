// Any bytes as a RINEX observation file of any version, plain, compact or packed.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    gnx::ObservationReader reader(path);
    for (gnx::ObsEpoch epoch; reader.next(epoch);) continue;
  });
}
