// Any bytes as maps of the ionosphere.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    const gnx::IonosphereMaps maps = gnx::readIonex({path});
    maps.vertical(47.0, 190.0, maps.maps.front().time + 1800.0);
  });
}
