// Any bytes as a RINEX clock file.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) { gnx::readRinexClocks({path}); });
}
