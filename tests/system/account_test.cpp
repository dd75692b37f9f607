// in = used + reasons for every system, counted on both sides of the boundary, whatever goes wrong.

#include "formats/rinex_obs.h"
#include "run/run_files.h"
#include "support/simulated_files.h"

namespace gnx::test {
namespace {

/// Values of some signals in an observation file, by satellite.
std::map<SatName, long> countObserved(const std::string& file, const std::map<char, std::string>& signals) {
  std::map<SatName, long> count;
  RinexObsReader reader(file);
  for (ObsEpoch epoch; reader.next(epoch);)
    for (const SatObs& sat : epoch.sats)
      for (const SignalObs& s : sat.signals) {
        const auto planned = signals.find(sat.sat[0]);
        if (planned == signals.end() || planned->second.find(s.code.data()) == std::string::npos) continue;
        count[sat.sat] += (s.phase != 0.0 ? 1 : 0) + (s.range != 0.0 ? 1 : 0);
      }
  return count;
}

long reason(const SystemAccount& counts, const std::string& keyword) {
  const auto found = counts.reasons.find(keyword);
  return found == counts.reasons.end() ? 0 : found->second;
}

/// Half an hour of a simulated sky in which much goes wrong.
SimulationFiles simulateFaults(const std::filesystem::path& directory, double interval) {
  SimulationOptions sky = shortSky("GEC", 0.5);
  sky.interval = interval;
  sky.observer.maskDegrees = 2.0;
  sky.faults = FaultList({{Fault::Kind::gap, "", "", 300.0, 360.0, 1.0},
                          {Fault::Kind::code, "", "2W", 480.0, 540.0, 3e8},
                          {Fault::Kind::code, "", "1C", 600.0, 600.0, 80.0},
                          {Fault::Kind::ssrGap, "", "", 900.0, 1320.0, 1.0}});
  return simulate(sky, directory);
}

TEST(Account, IsExactWhenMuchGoesWrong) {
  const RunDirectory directory;
  const SimulationFiles files = simulateFaults(directory.path() / "data", 30.0);
  ReplayOptions o = replayOf(files, "GEC", directory.path() / "run");
  const std::map<SatName, long> observed =
      countObserved(files.observations.string(), {{'G', "1C 2W"}, {'E', "1C 5Q"}, {'C', "2I 6I"}});
  o.plan.excluded = {observed.begin()->first};
  o.plan.details = o.plan.interval;
  const RunAccount account = runReplay(o).account;
  expectExact(account, "GEC");

  std::map<char, long> in, residuals;
  for (const auto& [satellite, count] : observed) in[satellite[0]] += count;
  for (const Residual& r : readRunFiles(o.outDir).residuals) ++residuals[r.satellite[0]];
  for (const char system : std::string("GEC")) {
    EXPECT_EQ(account.at(system).in, in[system]) << system << ": counted from the file";
    EXPECT_EQ(account.at(system).used, residuals.at(system)) << system << ": rows of the filter";
    EXPECT_GT(reason(account.at(system), "lowelev"), 0) << system;
    EXPECT_GT(reason(account.at(system), "nocorrection"), 0) << system << ": the stream stopped";
  }
  const char excluded = observed.begin()->first[0];
  EXPECT_EQ(reason(account.at(excluded), "excluded"), observed.begin()->second);
  EXPECT_GT(reason(account.at('G'), "impossible"), 0) << "codes of 3e8 m on L2";
  EXPECT_GT(reason(account.at('G'), "partner"), 0) << "what is left of those satellites";
  EXPECT_GT(reason(account.at('G'), "codes"), 0) << "a code 80 m off its neighbour";
  EXPECT_EQ(formatAccount(readAccount(o.outDir / "account.csv")), formatAccount(account));
}

TEST(Account, IsExactForEpochsBetweenTheTicksAndEveryCombination) {
  const RunDirectory directory;
  const SimulationFiles files = simulateFaults(directory.path() / "data", 15.0);
  for (const char* combination : {"RAW", "IF", "SF"})
    for (const char* mode : {"static", "dynamic"}) {
      ReplayOptions o = replayOf(files, "GEC", directory.path() / (std::string(combination) + mode), mode);
      o.deploy.combination = combination;
      const RunAccount account = runReplay(o).account;
      SCOPED_TRACE(std::string(combination) + " " + mode);
      expectExact(account, "GEC");
      const SystemAccount total = totalOf(account);
      EXPECT_GT(total.used, total.in / 10);
      EXPECT_NEAR(static_cast<double>(reason(total, "notick")), 0.5 * static_cast<double>(total.in),
                  0.06 * static_cast<double>(total.in));
      EXPECT_GT(reason(total, "lowelev"), 0);
    }
}

}  // namespace
}  // namespace gnx::test
