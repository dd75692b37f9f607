// Any bytes as a SINEX file of station coordinates.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    gnx::readSinexStation(path, "TEST", gnx::toGpsTime({2020, 6, 25, 0, 0, 0.0}));
  });
}
