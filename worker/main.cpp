/// The worker: an engine for a host in another process, which starts it in a directory with a deployment and
/// talks to it over descriptor 3. Not meant to be called by hand.

#include <cstdio>
#include <exception>

#include "engine/engine_core.h"

int main() {
  constexpr int kHost = 3;
  try {
    gnx::serveHost(kHost);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ERROR %s\n", e.what());
    return 1;
  }
  return 0;
}
