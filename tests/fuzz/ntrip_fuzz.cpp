// Any bytes as the answer of a caster: whole, and cut in two at a place that they choose.

#include <algorithm>

#include "ntrip/protocol.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  std::vector<std::uint8_t> whole, cut;
  gnx::NtripReader once, twice;
  once.take(bytes, whole);
  const std::size_t middle = size == 0 ? 0 : data[size - 1] % size;
  twice.take(bytes.first(middle), cut);
  twice.take(bytes.subspan(middle), cut);
  if (whole.size() > size) __builtin_trap();
  gnx::mountpointsOf({whole.begin(), whole.end()});
  return 0;
}
