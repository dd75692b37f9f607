// Any bytes as a request, as they come one by one.

#include <cstddef>
#include <cstdint>

#include "http/request.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  gnx::HttpRequest request;
  for (std::size_t n = size > 64 ? size - 64 : 0; n <= size; ++n)
    if (gnx::parseHttpRequest(bytes.substr(0, n), request) == gnx::HttpProgress::complete &&
        !request.path.starts_with('/'))
      __builtin_trap();
  return 0;
}
