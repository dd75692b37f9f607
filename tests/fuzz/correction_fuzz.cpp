// Any bytes as state-space corrections in text form.

#include "fuzzed_file.h"
#include "gnx/read.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return gnx::fuzz::readAsFile(data, size, [](const std::string& path) {
    gnx::CorrectionReader reader(path);
    for (gnx::SsrBlock block; reader.next(block);) continue;
  });
}
