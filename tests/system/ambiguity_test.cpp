// Integer resolution through the boundary: the program on a simulated sky whose integers and biases are
// known.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "formats/rinex_obs.h"
#include "formats/rinex_writer.h"
#include "formats/ssr_text.h"
#include "formats/ssr_writer.h"
#include "simulate/simulation.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

namespace fs = std::filesystem;

constexpr double kC = 299792458.0;
const std::map<std::string, double> kFrequency = {{"G1C", 1575.42e6}, {"G2W", 1227.60e6}, {"E1C", 1575.42e6},
                                                  {"E5Q", 1176.45e6}, {"G5Q", 1176.45e6}, {"E7Q", 1207.14e6}};

/// A line of the solution file.
struct Solution {
  std::string time, floatColumns;  ///< satellites by system, PDOP, sigma of unit weight
  double xyz[3] = {};
  int status = 0, fixed = 0;
};

/// Columns of solution.csv by the names of its header.
std::vector<Solution> readSolution(const fs::path& path) {
  std::ifstream in(path);
  std::string line, word;
  std::vector<std::string> names;
  std::vector<Solution> all;
  const auto split = [&] {
    std::vector<std::string> words;
    for (std::istringstream text(line); std::getline(text, word, ',');) words.push_back(word);
    return words;
  };
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    if (names.empty()) {
      names = split();
      continue;
    }
    std::map<std::string, std::string> value;
    const auto words = split();
    for (std::size_t i = 0; i < words.size() && i < names.size(); ++i) value[names[i]] = words[i];
    Solution s;
    s.time = value["time_gpst"];
    s.xyz[0] = std::stod(value["x_m"]);
    s.xyz[1] = std::stod(value["y_m"]);
    s.xyz[2] = std::stod(value["z_m"]);
    s.status = std::stoi(value["status"]);
    s.fixed = std::stoi(value["fixed"]);
    for (const char* name : {"rows", "sat_G", "sat_E", "pdop", "sigma0"}) s.floatColumns += value[name] + " ";
    all.push_back(s);
  }
  return all;
}

double distance(const double* a, const double* b) {
  return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) +
                   (a[2] - b[2]) * (a[2] - b[2]));
}

using PhaseChange = std::function<double(const std::string& sat, const std::string& signal)>;

/// An hour of GPS and Galileo, kinematic, 30 s, made once for the tests of this file.
class Ambiguity : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder = new fs::path(fs::temp_directory_path() / ("gnx_ambiguity_" + std::to_string(::getpid())));
    fs::remove_all(*folder);
    SimulationOptions o;
    o.sky.systems = "GE";
    o.sky.start = toGpsTime({2026, 11, 21, 3, 0, 0.0});
    o.sky.hours = 1.0;
    o.sky.seed = 5;
    o.observer.site = {3582104.7625, 532590.1800, 5232755.1407};
    std::copy_n(o.observer.site.data(), 3, site);
    files = new SimulationFiles(simulate(o, *folder / "data"));
    const std::string init =
        std::string(GNX_PROGRAM) + " init " + (*folder / "deployment").string() +
        " --systems GE --refpoint APC_ITRF --mode kinematic --date 2026-11-21 > /dev/null 2>&1";
    ASSERT_EQ(std::system(init.c_str()), 0);
  }
  static void TearDownTestSuite() {
    fs::remove_all(*folder);
    delete folder;
    delete files;
  }

  /// A deployment with levels switched ("off"), with or without the table of the ratio test.
  static fs::path deployment(const std::string& name, const std::vector<std::string>& offLevels, bool table) {
    const fs::path dir = *folder / name;
    if (fs::exists(dir)) return dir;
    fs::copy(*folder / "deployment", dir, fs::copy_options::recursive);
    for (const std::string& level : offLevels) {
      std::ifstream in(dir / "ambiguity.json");
      std::string text{std::istreambuf_iterator<char>(in), {}};
      const std::size_t block = text.find("\"" + level + "\": {"), at = text.find("\"on", block);
      EXPECT_LT(text.find("\"resolution\"", block), at);
      text.replace(at, 3, "\"off");
      fs::remove(dir / "ambiguity.json");
      std::ofstream(dir / "ambiguity.json") << text;
    }
    if (!table) {
      fs::remove(dir / "ratio.txt");
      std::ofstream(dir / "ratio.txt") << "nrow 0 ndim 0\n";
    }
    return dir;
  }

  static std::vector<Solution> run(const fs::path& deployment, const fs::path& observations,
                                   const fs::path& corrections) {
    const fs::path out = *folder / ("run" + std::to_string(++runs));
    const std::string command = std::string(GNX_PROGRAM) + " replay --obs " + observations.string() +
                                " --nav " + files->navigation.string() + " --ssr " + corrections.string() +
                                " --deployment " + deployment.string() + " --mode kinematic --quiet --out " +
                                out.string() + " > " + (*folder / "log").string() + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return readSolution(out / "solution.csv");
  }

  /// The observations with `cycles` added to the phases.
  static fs::path changePhases(const std::string& name, const PhaseChange& cycles) {
    const fs::path path = *folder / name;
    RinexObsReader reader(files->observations.string());
    ObsEpoch epoch;
    EXPECT_TRUE(reader.next(epoch));
    RinexObsWriter writer(path, reader.header(), epoch.time);
    do {
      for (SatObs& sat : epoch.sats)
        for (SignalObs& signal : sat.signals)
          if (signal.phase != 0.0) signal.phase += cycles(sat.sat, signal.code.data());
      writer.write(epoch);
    } while (reader.next(epoch));
    return path;
  }

  /// The corrections with `metres` added to the phase biases.
  static fs::path changeBiases(const std::string& name, const PhaseChange& metres) {
    const fs::path path = *folder / name;
    SsrTextReader reader(files->corrections.string());
    SsrWriter writer(path);
    for (SsrBlock block; reader.next(block);) {
      if (block.kind == SsrKind::phaseBias)
        for (SsrSatBias& sat : block.biases)
          for (SsrBias& bias : sat.biases) bias.value += metres(sat.sat, bias.signal);
      writer.write(block);
    }
    return path;
  }

  static double largestDifference(const std::vector<Solution>& a, const std::vector<Solution>& b) {
    EXPECT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
      largest = std::max(largest, distance(a[i].xyz, b[i].xyz));
    return largest;
  }
  static int epochsWith(const std::vector<Solution>& all, int status) {
    int count = 0;
    for (const Solution& s : all) count += s.status == status;
    return count;
  }
  /// Ambiguities that the last level has fixed, over all epochs.
  static int fixedIntegers(const std::vector<Solution>& all) {
    int count = 0;
    for (const Solution& s : all) count += s.status == 5 ? s.fixed : 0;
    return count;
  }
  /// Root mean square of the 3D error over the second half hour.
  static double settledError(const std::vector<Solution>& all) {
    double sum = 0.0;
    for (std::size_t i = all.size() / 2; i < all.size(); ++i) sum += std::pow(distance(all[i].xyz, site), 2);
    return std::sqrt(sum / static_cast<double>(all.size() - all.size() / 2));
  }

  /// A constant for each satellite and signal, cycles in whole thousandths as the file format holds them.
  static double draw(const std::string& sat, const std::string& signal) {
    const int number = (sat[1] - '0') * 10 + sat[2] - '0';
    return 0.001 * ((number * 7919 + signal[0] * 104729 + sat[0] * 1299709) % 997 - 498);
  }
  static double wavelength(const std::string& sat, const std::string& signal) {
    return kC / kFrequency.at(sat[0] + signal);
  }

  static fs::path* folder;
  static SimulationFiles* files;
  static double site[3];
  static int runs;
};

fs::path* Ambiguity::folder = nullptr;
SimulationFiles* Ambiguity::files = nullptr;
double Ambiguity::site[3] = {};
int Ambiguity::runs = 0;

TEST_F(Ambiguity, FixesBringCentimetresAndLeaveTheFloatColumnsAlone) {
  const auto off = run(deployment("float", {"wl", "n1"}, true), files->observations, files->corrections);
  const auto on = run(deployment("fixed", {}, true), files->observations, files->corrections);
  const auto wide = run(deployment("wide", {"n1"}, true), files->observations, files->corrections);
  ASSERT_EQ(on.size(), 120u);
  ASSERT_EQ(off.size(), on.size());
  for (std::size_t i = 0; i < on.size(); ++i)
    EXPECT_EQ(on[i].floatColumns, off[i].floatColumns)
        << on[i].time << ": a fix has reached the float filter";
  EXPECT_EQ(epochsWith(off, 2), 120);
  EXPECT_GT(epochsWith(wide, 4), 90);
  EXPECT_EQ(epochsWith(wide, 5), 0);
  EXPECT_GT(epochsWith(on, 5), 90);
  for (const Solution& s : on) {
    if (s.status == 5) {
      EXPECT_GE(s.fixed, 6) << s.time;
    } else if (s.status < 3) {
      EXPECT_EQ(s.fixed, 0) << s.time;
    }
  }
  EXPECT_LT(settledError(on), 0.03);
  EXPECT_LT(settledError(on), 0.7 * settledError(off));
}

TEST_F(Ambiguity, WholeCyclesOnAnArcChangeNothing) {
  const fs::path dir = deployment("fixed", {}, true);
  const auto plain = run(dir, files->observations, files->corrections);
  const auto moved = changePhases("cycles.rnx", [](const std::string& sat, const std::string& signal) {
    return sat == "G08" ? 0.0 : std::round(3000.0 * draw(sat, signal));
  });
  const auto shifted = run(dir, moved, files->corrections);
  EXPECT_LE(largestDifference(plain, shifted), 1.0e-4);
  for (std::size_t i = 0; i < plain.size(); ++i) EXPECT_EQ(shifted[i].fixed, plain[i].fixed) << plain[i].time;
}

TEST_F(Ambiguity, ABiasMovedFromThePhasesToTheCorrectionsChangesNothingAndTheWrongSignFixesNothing) {
  // Without the table the ratio has to be 3, whatever the covariance says.
  const fs::path dir = deployment("limit", {}, false);
  const auto plain = run(dir, files->observations, files->corrections);
  EXPECT_GT(epochsWith(plain, 5), 60);
  const auto observations = changePhases("biased.rnx", draw);
  const auto byBias = [](double sign) {
    return [sign](const std::string& sat, const std::string& signal) {
      return kFrequency.contains(sat[0] + signal) ? -sign * draw(sat, signal) * wavelength(sat, signal) : 0.0;
    };
  };
  const auto right = run(dir, observations, changeBiases("right.ssr", byBias(1.0)));
  // Corrections are written to 0.1 mm; where that decides which subset passes, the epoch differs.
  ASSERT_EQ(right.size(), plain.size());
  int equal = 0;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    if (right[i].fixed != plain[i].fixed || right[i].status != plain[i].status) continue;
    ++equal;
    EXPECT_LE(distance(plain[i].xyz, right[i].xyz), 2.0e-3) << plain[i].time;
  }
  EXPECT_GT(equal, 110);
  const auto wrong = run(dir, observations, changeBiases("wrong.ssr", byBias(-1.0)));
  EXPECT_LT(fixedIntegers(wrong), fixedIntegers(plain) / 3);
}

}  // namespace
}  // namespace gnx::test
