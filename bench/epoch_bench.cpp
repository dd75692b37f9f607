/// \file epoch_bench.cpp
/// Whole epochs through the boundary as a host drives it: 45 satellites, all levels of integer
/// resolution on, two and three frequencies, and the worst case in which no level ever accepts anything;
/// and smaller skies.
///
/// Each run has a process of its own. Times are CPU times of the thread that calls `GNX_inputObs`, ms: they
/// do not depend on what else the machine does. Counters of a run:
///
///   median p999 max          one call, the first apart (it reads the troposphere grid)
///   first                    that one
///   satellites               in view, mean
///   share_...                of all that time: covariance of the ambiguities, factorisation,
///                            decorrelation, search of the full sets, subsets (with failure rates)
///
///   listened                 median of the epochs with a listener of results over that of those without:
///                            every second half minute of a run of its own has one
///
/// The shares come from the problems of the run: this program takes the place of two functions of the
/// engine (the dynamic linker prefers a program's symbols), keeps what they were given, and times the steps
/// on it afterwards. The levels of every tenth epoch are kept.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "Core/Ambfix/Pflambda.h"
#include "Core/Ambfix/RatioScreen.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "dense_sky.h"
#include "deployment/deployed.h"
#include "deployment/deployment.h"
#include "gnx/adapt.h"
#include "gnx/satellite.h"
#include "run/run_plan.h"
#include "support/replay_clock.h"

namespace {

double s_cpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct LevelProblem {
  int n = 0;
  double crit = 0.0, sigma = 1.0;
  std::vector<double> Q, x;
};

/// What the engine's functions spent and were given.
struct Recorder {
  bool keep = false;
  double covariance = 0.0, resolution = 0.0;
  std::vector<LevelProblem> problems;
};
Recorder s_recorder;

/// The engine's own form of a function that this program has taken the place of.
template <typename Function>
Function s_original(Function own) {
  Dl_info info{};
  void* address = nullptr;
  static_assert(sizeof address == sizeof own);
  std::memcpy(&address, &own, sizeof own);
  if (dladdr(address, &info) == 0 || info.dli_sname == nullptr) std::abort();
  void* next = dlsym(RTLD_NEXT, info.dli_sname);
  if (next == nullptr) std::abort();
  Function result;
  std::memcpy(&result, &next, sizeof result);
  return result;
}

}  // namespace

namespace tarvio {

int SrifAmbfix_raw::s_ambCovariance(const SrifFilter* filter, std::vector<double>& Qamb) {
  static const auto original = s_original(&SrifAmbfix_raw::s_ambCovariance);
  const double begin = s_cpuSeconds();
  const int nc = original(filter, Qamb);
  s_recorder.covariance += s_cpuSeconds() - begin;
  return nc;
}

int SrifAmbfix_raw::s_raw_ddsrch_lambda(double crit, const double* Q, int ldq, double sigma, const double* x,
                                        const int* idx, const int* s0, int n, int* ifix, int* flags,
                                        double* ratio) {
  static const auto original = s_original(&SrifAmbfix_raw::s_raw_ddsrch_lambda);
  if (s_recorder.keep) {
    LevelProblem& p = s_recorder.problems.emplace_back();
    p.n = n;
    p.crit = crit;
    p.sigma = sigma;
    for (int j = 0; j < n; ++j) p.Q.insert(p.Q.end(), Q + j * ldq, Q + j * ldq + n);
    p.x.assign(x, x + n);
  }
  const double begin = s_cpuSeconds();
  const int fixed = original(crit, Q, ldq, sigma, x, idx, s0, n, ifix, flags, ratio);
  s_recorder.resolution += s_cpuSeconds() - begin;
  return fixed;
}

}  // namespace tarvio

namespace {

namespace fs = std::filesystem;

struct RunPlan {
  gnx_bench::DenseSkyPlan sky;
  bool threeFrequencies = false;
  bool table = false;     ///< of critical values; without it a ratio of 3
  bool listened = false;  ///< every second half minute has a listener of results
};

void s_writeDeployment(const fs::path& directory, const gnx_bench::DenseSky& sky, const RunPlan& plan) {
  gnx::DeploymentOptions options;
  options.systems = "GEC";
  options.refpoint = "APC_ITRF";
  options.date = sky.start;
  options.codeNoise_m = 0.3 * plan.sky.noise;
  options.run.interval_s = plan.sky.interval;
  options.run.mode = gnx::Mode::kinematic;
  if (plan.threeFrequencies) options.freqobs = "GPS:L1_L2_L5 GAL:E1_E5a_E5b BD3:B1_B3_B2a";
  options.overrides["files.rinput"] = plan.table ? "ratio.txt" : "no_ratio_table.txt";
  std::ostringstream notes;
  gnx::writeDeployment(directory, options, notes);
}

gnx::SignalPlan s_signalPlan(const gnx_bench::DenseSky& sky) {
  gnx::SignalPlan::Request request;
  request.bands = gnx::deployedBands(".");
  for (const auto& [system, list] : sky.signals)
    for (const std::string& signal : list) {
      request.received[system].push_back("C" + signal);
      request.received[system].push_back("L" + signal);
      request.corrected[system].insert(signal);
    }
  return gnx::SignalPlan(request);
}

std::string s_text(const char* file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Every second half minute: corrections come in each of them alike.
bool s_isListened(std::size_t epoch) { return epoch / 6 % 2 == 1; }

/// Milliseconds of every epoch.
std::vector<double> s_drive(const gnx_bench::DenseSky& sky, const RunPlan& plan, double* satellites) {
  const auto setClock = [&](const gnx::GpsTime& t) {
    gnx::setReplayClock(GNX_IO::gpst2utc(gnx::toBoundaryTime(t)).time);
  };
  setClock(sky.start);
  const gnx::SignalPlan signals = s_signalPlan(sky);
  const gnx::BoundaryNumbers numbers;
  gnx::LinkedBoundary boundary;
  gnx::ProductFeed products(
      boundary, numbers, signals, {},
      gnx::reversedSatellites(gnx::parseSatelliteTable(s_text("satnav.txt")), gnx::tableTime(sky.start)),
      true);
  gnx::ObservationFeed feed(boundary, numbers, signals, {});
  GNX_IO::sta_t station{};
  GNX_initialize("kinematic", &station, 7.0, plan.sky.interval);
  std::size_t message = 0, batch = 0;
  std::vector<double> times;
  for (const gnx::ObsEpoch& epoch : sky.epochs) {
    setClock(epoch.time);
    while (message < sky.messages.size() && sky.messages[message].transmission <= epoch.time)
      products.feed(sky.messages[message++]);
    while (batch < sky.corrections.size() && sky.corrections[batch].delivery <= epoch.time)
      products.feed(sky.corrections[batch++]);
    s_recorder.keep = times.size() % 10 == 9;
    int listener = 0;
    if (plan.listened && s_isListened(times.size()))
      listener = GNX_EXT::addResultListener([](const GNX_EXT::Result& result) {
        double state = result.state;
        benchmark::DoNotOptimize(state);
      });
    const double begin = s_cpuSeconds();
    feed.feed(epoch);
    times.push_back(1e3 * (s_cpuSeconds() - begin));
    GNX_EXT::removeListener(listener);
    *satellites += feed.satellites() / static_cast<double>(sky.epochs.size());
  }
  GNX_finilize();
  return times;
}

/// Seconds of the steps on the problems that were kept.
struct Steps {
  double factorisation = 0.0, decorrelation = 0.0, search = 0.0;
};

double s_threshold(const LevelProblem& p, const tarvio::RatioTable* table) {
  if (table == nullptr) return p.crit;
  std::vector<double> scaled = p.Q;
  double mu = 0.0, rate = 0.0;
  tarvio::s_pf_lookup_u(*table, scaled.data(), p.n, p.sigma, 0.001, -1, &mu, &rate);
  return tarvio::s_ratioThreshold(mu);
}

/// The full sets as the engine treats them: screened, and searched when they may pass.
Steps s_timeSteps(const tarvio::RatioTable* table) {
  Steps steps;
  tarvio::RatioScreen screen;
  std::vector<double> L, D, x, second;
  double s[2];
  for (const LevelProblem& p : s_recorder.problems) {
    if (p.n < 2) continue;
    const double threshold = s_threshold(p, table);
    L.resize(p.Q.size());
    D.resize(p.x.size());
    second.resize(p.x.size());
    x = p.x;
    const double begin = s_cpuSeconds();
    tarvio::LD(p.n, p.Q.data(), L.data(), D.data());
    const double factored = s_cpuSeconds();
    screen.m_load(p.n, p.Q.data(), p.x.data());
    const double loaded = s_cpuSeconds();
    const bool screened = threshold >= tarvio::RatioScreen::kWorthwhile;
    const auto verdict = screened ? screen.m_judge(threshold, std::numeric_limits<double>::infinity())
                                  : tarvio::RatioScreen::Verdict::open;
    if (verdict == tarvio::RatioScreen::Verdict::fails) screen.m_improve(tarvio::RatioScreen::kFullSetVisits);
    else tarvio::ambslv_(p.n, p.Q.data(), x.data(), second.data(), s);
    const double searched = s_cpuSeconds();
    steps.factorisation += factored - begin;
    steps.decorrelation += std::max(0.0, loaded - factored - (factored - begin));
    steps.search += searched - loaded;
  }
  return steps;
}

double s_median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

double s_listenedShare(const std::vector<double>& times) {
  std::vector<double> by[2];
  for (std::size_t i = 1; i < times.size(); ++i) by[s_isListened(i)].push_back(times[i]);
  return s_median(by[1]) / s_median(by[0]);
}

/// Counters of a run, name and value, from a process of its own.
std::map<std::string, double> s_run(const RunPlan& plan) {
  const gnx_bench::DenseSky sky(plan.sky);
  std::string directory = (fs::temp_directory_path() / "gnx-bench-XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) std::abort();
  s_writeDeployment(directory, sky, plan);
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    fs::current_path(directory);
    if (std::freopen("solutions.txt", "w", stdout) == nullptr) _exit(1);
    std::map<std::string, double> c;
    std::vector<double> times = s_drive(sky, plan, &c["satellites"]);
    const double all = 1e-3 * std::accumulate(times.begin() + 1, times.end(), 0.0);
    c["first"] = times.front();
    if (plan.listened) c["listened"] = s_listenedShare(times);
    times.erase(times.begin());
    if (const char* file = std::getenv("GNX_BENCH_TIMES"))
      for (std::ofstream out(file, std::ios::app); const double t : times) out << t << '\n';
    std::sort(times.begin(), times.end());
    c["median"] = times[times.size() / 2];
    c["p999"] = times[std::min(times.size() - 1,
                               static_cast<std::size_t>(0.999 * static_cast<double>(times.size())))];
    c["max"] = times.back();
    tarvio::RatioTable table;
    if (plan.table) table.read_table("ratio.txt");
    const Steps steps = s_timeSteps(plan.table ? &table : nullptr);
    const double kept = steps.factorisation + steps.decorrelation + steps.search;
    // Full sets of all epochs from those of every tenth one.
    const double full = std::min(10.0 * kept, s_recorder.resolution),
                 part = kept > 0.0 ? full / kept / all : 0.0;
    c["share_covariance"] = s_recorder.covariance / all;
    c["share_factorisation"] = part * steps.factorisation;
    c["share_decorrelation"] = part * steps.decorrelation;
    c["share_search"] = part * steps.search;
    c["share_subsets"] = (s_recorder.resolution - full) / all;
    std::ofstream out("counters.txt");
    for (const auto& [name, value] : c) out << name << ' ' << value << '\n';
    out.close();
    std::fflush(stdout);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  std::map<std::string, double> counters;
  {
    std::ifstream in(directory + "/counters.txt");
    double value = 0.0;
    for (std::string name; in >> name >> value;) counters[name] = value;
  }
  fs::remove_all(directory);
  return counters;
}

void s_epochs(benchmark::State& state, const RunPlan& plan) {
  for (auto _ : state) {
    const auto counters = s_run(plan);
    if (counters.empty()) state.SkipWithError("the engine ended early");
    for (const auto& [name, value] : counters) state.counters[name] = value;
  }
}

using Biases = gnx_bench::DenseSkyPlan::Biases;

RunPlan s_plan(bool threeFrequencies, bool table, Biases biases, double noise = 1.0) {
  RunPlan plan;
  plan.threeFrequencies = threeFrequencies;
  plan.table = table;
  plan.sky.biases = biases;
  plan.sky.noise = noise;
  return plan;
}

void s_register(const std::string& name, const RunPlan& plan) {
  benchmark::RegisterBenchmark(name.c_str(), s_epochs, plan)->Iterations(1)->Unit(benchmark::kSecond);
}

const bool s_registered = [] {
  for (const bool three : {false, true})
    for (const bool table : {false, true}) {
      const std::string name =
          std::string("Epoch/") + (three ? "three" : "two") + (table ? "/table" : "/ratio");
      s_register(name + "/fixing", s_plan(three, table, Biases::right));
      s_register(name + "/failing", s_plan(three, table, Biases::wrong));
      s_register(name + "/last_level_failing", s_plan(three, table, Biases::narrow));
      s_register(name + "/noisy", s_plan(three, table, Biases::wrong, 4.0));
    }
  for (const int perSystem : {5, 10, 15}) {
    RunPlan plan = s_plan(false, true, Biases::right);
    plan.listened = true;
    plan.sky.perSystem = perSystem;
    s_register("Listened/" + std::to_string(3 * perSystem), plan);
  }
  // Growth with the sky, everything fixing.
  for (const bool three : {false, true})
    for (const int perSystem : {5, 10, 13}) {
      RunPlan plan = s_plan(three, false, Biases::right);
      plan.sky.perSystem = perSystem;
      s_register(std::string("Size/") + (three ? "three/" : "two/") + std::to_string(3 * perSystem), plan);
    }
  return true;
}();

}  // namespace
