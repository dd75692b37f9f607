// Products made of a simulated stream serve as the stream itself does.

#include <gmock/gmock.h>

#include "geometry/vector3.h"
#include "support/child.h"
#include "support/host_files.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

constexpr auto program = support::runProgram;

struct ProductsOfAStream : testing::Test {
  ProductsOfAStream() : files(simulate(shortSky("GEC", 1.0), dir.path() / "sky")) {}
  std::string products(const std::string& options = "") const {
    return "products --ssr " + files.corrections.string() + " --nav " + files.navigation.string() +
           " --out " + (dir.path() / "products").string() + " " + options;
  }
  using Epochs = std::vector<SolutionEpoch>;
  /// The solutions of the stream and of the products that the program makes of it.
  std::pair<Epochs, Epochs> solutions(const std::string& options, const std::string& systems,
                                      const char* refpoint, bool resolution) const {
    const support::ChildResult made = program(products(options));
    EXPECT_EQ(made.status, 0) << made.output;
    ReplayOptions stream = replayOf(files, systems, dir.path() / "stream");
    stream.deploy.resolution = resolution;
    ReplayOptions product = stream;
    product.outDir = dir.path() / "run";
    product.deploy.refpoint = refpoint;
    product.plan.ssr.clear();
    product.plan.sp3 = {dir.path() / "products/orbits.sp3"};
    product.plan.clk = {dir.path() / "products/clocks.clk"};
    product.plan.bia = {dir.path() / "products/biases.bia"};
    return {runReplay(stream).epochs, runReplay(product).epochs};
  }
  const TempDir dir;
  const SimulationFiles files;
};

TEST_F(ProductsOfAStream, GiveThePositionsOfTheStream) {
  const auto [a, b] = solutions("", "GEC", "APC_ITRF", true);
  ASSERT_EQ(a.size(), b.size());
  int fixed = 0;
  for (std::size_t k = 0; k < a.size(); ++k) {
    EXPECT_EQ(a[k].rows, b[k].rows) << formatTime(a[k].time);
    // orbit files are rounded to 1 mm, which the first minutes of a run make larger
    EXPECT_LT(length(minus(a[k].xyz, b[k].xyz)), k < 30 ? 0.020 : 0.002) << formatTime(a[k].time);
    fixed += b[k].status == 5 ? 1 : 0;
  }
  EXPECT_GT(fixed, 60) << "the phase biases are there";
}

// The engine takes the offsets off again, each frequency's own, in its own attitude.
TEST_F(ProductsOfAStream, MayReferToTheCentreOfMass) {
  const std::string deployment = dir.path() / "deployment";
  ASSERT_EQ(program("init " + deployment).status, 0);
  const auto [a, b] = solutions("--antex " + deployment + "/antenna.atx", "E", "CoM_ITRF", false);
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t k = 30; k < a.size(); ++k)
    EXPECT_LT(length(minus(a[k].xyz, b[k].xyz)), 0.012) << formatTime(a[k].time);
}

TEST_F(ProductsOfAStream, AreRefusedWithASentence) {
  const std::string empty = dir.write("none.rnx", readFile(files.navigation).substr(0, 4 * 81));
  std::string other = products();
  other.replace(other.find(files.navigation.string()), files.navigation.string().size(), empty);
  const std::pair<std::string, std::string> cases[] = {
      {products("--from 2026-11-21T09:00:00"), "no orbit with a clock in the chosen time"},
      {products("--frame IGS2014"), "longer than 5 characters"},
      {products("--antex " + files.navigation.string()), "which --antex does not take"},
      {other, "no orbit with a clock"},
      {"products --out x", "--ssr is required"}};
  for (const auto& [arguments, text] : cases) {
    const support::ChildResult refused = program(arguments);
    EXPECT_EQ(refused.status, 2) << arguments;
    EXPECT_THAT(refused.output, HasSubstr(text)) << arguments;
  }
}

}  // namespace
}  // namespace gnx::test
