// Any bytes as Earth rotation of either form.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) { gnx::readEarthRotation(path); });
}
