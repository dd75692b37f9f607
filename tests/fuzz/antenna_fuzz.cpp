// Any bytes as an antenna file: its blocks, and what a deployment makes of them.

#include "deployment/antex_file.h"
#include "fuzzed_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    std::vector<gnx::AntexBlock> blocks = gnx::readAntex(path);
    gnx::phaseCentreHeights(blocks, {});
    for (gnx::AntexBlock& block : blocks) {
      gnx::satelliteOf(block);
      gnx::completeFrequency(block, "G05", 1176.45e6);
      if (block.isSatellite()) block.reverseAxes();
    }
  });
}
