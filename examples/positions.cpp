/// A whole host on one page: any input files of a station go in, its position comes out.
///
///   gnx simulate sky && gnx init site --systems GEC --refpoint APC_ITRF --date 2026-11-21
///   g++ -std=c++20 positions.cpp $(pkg-config --cflags --libs gnx) -o positions
///   ./positions site sky/observations.rnx sky/navigation.rnx sky/corrections.ssr
///
/// The engine runs in a process of its own; with --in-process in front of the arguments it runs in this one.

#include <gnx/engine.h>

#include <cstring>
#include <iostream>

int main(int argc, char** argv) try {
  const bool inProcess = argc > 1 && std::strcmp(argv[1], "--in-process") == 0;
  const int first = inProcess ? 2 : 1;
  if (argc < first + 2) {
    std::cerr << "usage: positions [--in-process] DEPLOYMENT FILE...\n";
    return 2;
  }
  const auto site = gnx::Deployment::open(argv[first]);
  const std::vector<std::string> files(argv + first + 1, argv + argc);
  gnx::Engine engine(site, {.place = inProcess ? gnx::Place::inProcess : gnx::Place::worker});
  std::optional<gnx::Solution> last;
  for (const gnx::Event& event : gnx::read(files, {.deployment = site}))
    if (auto solution = engine.feed(event)) last = std::move(solution);
  if (!last) return 1;
  std::cout << last->time << "  " << last->position << "  " << last->state << '\n';
} catch (const gnx::Error& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
