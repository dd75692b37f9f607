// The interface in C: the same solutions as in C++, and no crash whatever is handed over.

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <regex>
#include <thread>

#include "gnx.h"
#include "gnx/engine.h"
#include "support/child.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using namespace testing;

/// A simulated quarter of an hour and a deployment for it, made once.
struct SmallRun {
  SmallRun() {
    const std::string at = directory.path().string();
    made = support::runProgram("simulate " + at + "/data --hours 0.25 --systems GE --quiet").status == 0 &&
           support::runProgram("init " + at +
                               "/site --systems GE --refpoint APC_ITRF --mode kinematic "
                               "--date 2026-11-21")
                   .status == 0;
    for (const char* name : {"observations.rnx", "navigation.rnx", "corrections.ssr"})
      files.push_back(at + "/data/" + name);
    for (const std::string& file : files) names.push_back(file.c_str());
    site = at + "/site";
  }
  support::TemporaryDirectory directory;
  bool made = false;
  std::vector<std::string> files;
  std::vector<const char*> names;
  std::string site;
};
const SmallRun& smallRun() {
  static const SmallRun run;
  return run;
}

gnx_deployment* openSite() {
  gnx_deployment* site = nullptr;
  EXPECT_EQ(gnx_deployment_open(smallRun().site.c_str(), &site), GNX_OK) << gnx_last_error();
  return site;
}
gnx_stream* openFiles(gnx_deployment* site) {
  gnx_stream* stream = nullptr;
  const auto& names = smallRun().names;
  EXPECT_EQ(gnx_stream_open(names.data(), names.size(), site, &stream), GNX_OK) << gnx_last_error();
  return stream;
}
gnx_engine* openEngine(gnx_deployment* site, const gnx_engine_options* options = nullptr) {
  gnx_engine* engine = nullptr;
  EXPECT_EQ(gnx_engine_open(site, options, &engine), GNX_OK) << gnx_last_error();
  return engine;
}
gnx_solution emptySolution() {
  gnx_solution solution{};
  solution.size = sizeof solution;
  return solution;
}

/// Every byte of the epochs of a run but the time that the calls took.
std::string fingerprint(const std::function<gnx_status(gnx_solution*)>& next) {
  std::string all;
  gnx_solution solution = emptySolution();
  gnx_status status;
  while ((status = next(&solution)) == GNX_OK) {
    solution.milliseconds = 0.0;
    all.append(reinterpret_cast<const char*>(&solution), sizeof solution);
  }
  EXPECT_EQ(status, GNX_END) << gnx_last_error();
  return all;
}

std::string runFiles(const gnx_engine_options* options = nullptr) {
  gnx_deployment* site = openSite();
  gnx_stream* files = openFiles(site);
  gnx_engine* engine = openEngine(site, options);
  const std::string all = fingerprint([&](gnx_solution* s) { return gnx_engine_next(engine, files, s); });
  EXPECT_EQ(gnx_engine_close(engine), GNX_OK);
  EXPECT_EQ(gnx_stream_close(files), GNX_OK);
  EXPECT_EQ(gnx_deployment_close(site), GNX_OK);
  return all;
}

// ---- records of the library as those of a host in C ----

template <std::size_t N>
void put(char (&field)[N], const std::string& text) {
  std::snprintf(field, N, "%s", text.c_str());
}
gnx_time inC(const GpsTime& t) { return {t.seconds, t.fraction}; }

gnx_message inC(const BroadcastEph& e) {
  gnx_message m{};
  put(m.satellite, e.sat);
  m.iode = e.iode, m.iodc = e.iodc, m.health = e.health, m.accuracy = e.accuracy, m.code = e.code;
  m.l2flag = e.l2flag, m.toc = inC(e.toc), m.toe = inC(e.toe), m.transmission = inC(e.transmission);
  std::copy(e.af.begin(), e.af.end(), m.af);
  m.crs = e.crs, m.delta_n = e.deltaN, m.m0 = e.m0, m.cuc = e.cuc, m.e = e.e, m.cus = e.cus,
  m.sqrt_a = e.sqrtA;
  m.cic = e.cic, m.omega0 = e.omega0, m.cis = e.cis, m.i0 = e.i0, m.crc = e.crc, m.omega = e.omega;
  m.omega_dot = e.omegaDot, m.idot = e.idot;
  std::copy(e.tgd, e.tgd + 2, m.tgd);
  return m;
}

/// An engine that gets every record through its own call, and a judge that has got them before.
class RecordByRecord {
 public:
  /// \param from  of the first epoch that the engine gets
  RecordByRecord(gnx_deployment* site, gnx_engine* engine, EventStream& stream, const GpsTime& from = {})
      : m_site(site), m_engine(engine), m_stream(stream), m_from(from) {}

  gnx_status next(gnx_solution* solution) {
    for (Event event; m_stream.next(event);) {
      const gnx_status status =
          std::visit([&](const auto& record) { return feed(record, solution); }, event.record);
      EXPECT_GE(status, 0) << gnx_last_error();
      if (status < 0) return status;
      if (std::holds_alternative<ObsEpoch>(event.record) && status == GNX_OK) return GNX_OK;
    }
    return GNX_END;
  }

 private:
  static std::string listed(const std::string& sum, char system, const auto& words) {
    std::string text = sum + (sum.empty() ? "" : " ") + system + ":";
    for (const std::string& word : words) text += word + ",";
    return text;
  }
  /// What the whole stream says about its integers.
  void judge(const StreamStart& start, const std::string& types, const std::string& signals) {
    gnx_judge* judge = nullptr;
    ASSERT_EQ(gnx_judge_open(m_site, inC(start.first.value()), types.c_str(), signals.c_str(),
                             start.header.position.data(), &judge),
              GNX_OK);
    for (const Event& event : read(smallRun().files)) {
      if (const auto* eph = std::get_if<BroadcastEph>(&event.record)) {
        const gnx_message message = inC(*eph);
        EXPECT_EQ(gnx_judge_feed_message(judge, &message, sizeof message), GNX_OK);
      } else if (const auto* batch = std::get_if<CorrectionBatch>(&event.record)) {
        const auto list = biasesOf(*batch);
        EXPECT_EQ(gnx_judge_feed_biases(judge, inC(batch->tag), list.data(), sizeof(gnx_bias), list.size()),
                  GNX_OK);
      } else if (const auto* epoch = std::get_if<ObsEpoch>(&event.record)) {
        const auto list = observationsOf(*epoch);
        EXPECT_EQ(
            gnx_judge_feed_epoch(judge, inC(epoch->time), list.data(), sizeof(gnx_observation), list.size()),
            GNX_OK);
      }
    }
    char remarks[1000];
    EXPECT_EQ(gnx_engine_obey(m_engine, judge, nullptr, remarks, sizeof remarks, nullptr), GNX_OK);
    std::string ofStream;
    for (const std::string& remark : start.integers.remarks)
      ofStream += (ofStream.empty() ? "" : "\n") + remark;
    EXPECT_EQ(remarks, ofStream);
    EXPECT_THAT(remarks, HasSubstr("left float")) << "else this proves little";
    EXPECT_EQ(gnx_judge_close(judge), GNX_OK);
  }

  gnx_status feed(const StreamStart& start, gnx_solution*) {
    std::string types, biases;
    for (const auto& [system, list] : start.header.types) types = listed(types, system, list);
    for (const auto& [system, list] : start.corrected) biases = listed(biases, system, list);
    judge(start, types, biases);
    return gnx_engine_start(m_engine, inC(start.first.value()), types.c_str(), biases.c_str(),
                            start.header.antenna.c_str(), start.header.position.data());
  }
  gnx_status feed(const BroadcastEph& eph, gnx_solution*) {
    const gnx_message message = inC(eph);
    return gnx_engine_feed_message(m_engine, &message, sizeof message);
  }
  gnx_status feed(const GlonassEph&, gnx_solution*) { return GNX_FAILED; }  // none in this sky
  gnx_status feed(const CorrectionBatch& batch, gnx_solution*) {
    std::vector<gnx_correction> corrections;
    for (const OrbitClockCorrection& c : batch.orbitClock) {
      gnx_correction& to = corrections.emplace_back();
      put(to.satellite, c.sat);
      to.iod = c.iod;
      std::copy(c.deph.begin(), c.deph.end(), to.orbit_m);
      std::copy(c.ddeph.begin(), c.ddeph.end(), to.orbit_mps);
      std::copy(c.dclk.begin(), c.dclk.end(), to.clock);
    }
    const std::vector<gnx_bias> biases = biasesOf(batch);
    return gnx_engine_feed_corrections(m_engine, inC(batch.delivery), inC(batch.tag), corrections.data(),
                                       sizeof(gnx_correction), corrections.size(), biases.data(),
                                       sizeof(gnx_bias), biases.size());
  }
  static std::vector<gnx_bias> biasesOf(const CorrectionBatch& batch) {
    std::vector<gnx_bias> biases;
    if (!batch.newBiases) return biases;
    for (const SatBiases& satellite : batch.biases)
      for (const auto* list : {&satellite.code, &satellite.phase})
        for (const SsrBias& bias : *list) {
          gnx_bias& to = biases.emplace_back();
          put(to.satellite, satellite.sat);
          put(to.signal, bias.signal);
          to.is_phase = list == &satellite.phase;
          to.discontinuity = bias.discontinuity;
          to.value_m = bias.value;
        }
    return biases;
  }
  static std::vector<gnx_observation> observationsOf(const ObsEpoch& epoch) {
    std::vector<gnx_observation> list;
    for (const SatObs& sat : epoch.sats)
      for (const SignalObs& s : sat.signals) {
        gnx_observation& to = list.emplace_back();
        put(to.satellite, sat.sat);
        put(to.signal, s.code.data());
        to.phase_cycles = s.phase, to.range_m = s.range, to.doppler_hz = s.doppler, to.snr_dbhz = s.snr;
        to.lock_lost = s.lli;
      }
    return list;
  }
  gnx_status feed(const ObsEpoch& epoch, gnx_solution* solution) {
    if (epoch.time < m_from) return GNX_NO_EPOCH;
    const std::vector<gnx_observation> list = observationsOf(epoch);
    return gnx_engine_feed_epoch(m_engine, inC(epoch.time), list.data(), sizeof(gnx_observation), list.size(),
                                 solution);
  }

  gnx_deployment* m_site;
  gnx_engine* m_engine;
  EventStream& m_stream;
  GpsTime m_from;
};

void expectInCpp(const std::string& inC) {
  const Deployment site = Deployment::open(smallRun().site);
  Engine engine(site);
  std::size_t k = 0;
  for (const Event& event : read(smallRun().files, {.deployment = site})) {
    const auto solution = engine.feed(event);
    if (!solution) continue;
    gnx_solution other;
    ASSERT_LT((k + 1) * sizeof other, inC.size() + 1);
    std::memcpy(&other, inC.data() + k++ * sizeof other, sizeof other);
    EXPECT_EQ(other.position_m[2], solution->position[2]) << k;
    EXPECT_EQ(other.covariance_m2[4], solution->covariance[1][1]) << k;
  }
  EXPECT_EQ(k, 30U);
}

TEST(InterfaceInC, AnEngineGoesOnWithTheStateOfAnother) {
  gnx_deployment* site = openSite();
  gnx_stream* files = openFiles(site);
  gnx_engine* first = openEngine(site);
  std::size_t needed = 0;
  EXPECT_EQ(gnx_engine_state(first, nullptr, 0, &needed), GNX_BAD_ORDER) << "before the first epoch";
  gnx_solution last = emptySolution();
  for (int epoch = 0; epoch < 24; ++epoch) ASSERT_EQ(gnx_engine_next(first, files, &last), GNX_OK);
  ASSERT_EQ(last.state, 5);
  ASSERT_EQ(gnx_engine_state(first, nullptr, 0, &needed), GNX_OK) << gnx_last_error();
  std::string state(needed, '\0');
  EXPECT_EQ(gnx_engine_state(first, nullptr, needed, &needed), GNX_BAD_ARGUMENT);
  ASSERT_EQ(gnx_engine_state(first, state.data(), state.size(), &needed), GNX_OK);

  gnx_engine_options options{};
  options.size = sizeof options;
  options.state = state.data(), options.state_size = state.size();
  gnx_engine* second = openEngine(site, &options);
  const GpsTime later = GpsTime{last.time.seconds, last.time.fraction} + 90.0;
  EventStream stream = read(smallRun().files, {.deployment = Deployment::open(smallRun().site)});
  gnx_solution next = emptySolution();
  ASSERT_EQ(RecordByRecord(site, second, stream, later).next(&next), GNX_OK);
  EXPECT_EQ(next.state, 5);
  char text[200] = "";
  EXPECT_EQ(gnx_engine_resumed(second, text, sizeof text, nullptr), GNX_OK);
  EXPECT_THAT(text, MatchesRegex("arcs of [0-9]+ satellites go on.*"));
  for (gnx_engine* engine : {first, second}) EXPECT_EQ(gnx_engine_close(engine), GNX_OK);
  EXPECT_EQ(gnx_stream_close(files), GNX_OK);
  EXPECT_EQ(gnx_deployment_close(site), GNX_OK);
}

TEST(InterfaceInC, GivesTheSolutionsOfTheLibraryBitForBit) {
  ASSERT_TRUE(smallRun().made);
  const std::string worker = runFiles();
  EXPECT_EQ(worker.size(), 30 * sizeof(gnx_solution)) << "every half minute";

  expectInCpp(worker);

  const std::filesystem::path here = smallRun().directory.path() / "in_process";
  support::runInChild([&] {
    gnx_engine_options options{};
    options.size = sizeof options;
    options.in_process = 1;
    support::writeFile(here, runFiles(&options));
  });
  EXPECT_TRUE(support::readFile(here) == worker) << "in the host's process";
}

TEST(InterfaceInC, TakesRecordsThatAHostMakes) {
  gnx_deployment* opened = openSite();
  gnx_engine* own = openEngine(opened);
  EventStream stream = read(smallRun().files, {.deployment = Deployment::open(smallRun().site)});
  RecordByRecord records(opened, own, stream);
  expectInCpp(fingerprint([&](gnx_solution* s) { return records.next(s); }));
  size_t bands = 0;
  EXPECT_EQ(gnx_engine_bands(own, nullptr, sizeof(gnx_band), 0, &bands), GNX_OK);
  std::vector<gnx_band> list(bands);
  EXPECT_EQ(gnx_engine_bands(own, list.data(), sizeof(gnx_band), list.size(), &bands), GNX_OK);
  EXPECT_GT(
      std::ranges::count_if(list, [](const gnx_band& b) { return std::string(b.phase_fate) == "used"; }), 20);
  EXPECT_EQ(gnx_engine_close(own), GNX_OK);
  EXPECT_EQ(gnx_deployment_close(opened), GNX_OK);
}

// ---- faults ----

struct Fault {
  const char* what;
  std::function<gnx_status()> call;
  gnx_status expected;
};

TEST(InterfaceInC, ToldOfNonsenseAnswersWithAStatus) {
  gnx_deployment* site = openSite();
  gnx_stream* files = openFiles(site);
  gnx_engine* engine = openEngine(site);
  gnx_solution solution = emptySolution();
  gnx_solution small = emptySolution(), none = emptySolution(), huge = emptySolution();
  small.size = 8, none.size = 0, huge.size = SIZE_MAX;
  gnx_engine_options options{};
  options.size = 7;
  gnx_observation observation{};
  gnx_bias bias{};
  put(bias.satellite, "G01");
  std::memset(observation.satellite, 'G', sizeof observation.satellite);
  gnx_message message{};
  const gnx_time time{1'795'000'000, 0.0};
  auto* const garbage = reinterpret_cast<gnx_engine*>(std::uintptr_t{0xdeadbee0});
  gnx_engine* out = nullptr;
  const char* absent = "/nonexistent.rnx";

  const Fault faults[] = {
      {"directory", [&] { return gnx_deployment_open(nullptr, &site); }, GNX_BAD_ARGUMENT},
      {"place of the deployment", [&] { return gnx_deployment_open("x", nullptr); }, GNX_BAD_ARGUMENT},
      {"no deployment there", [&] { return gnx_deployment_open("/nonexistent", &site); }, GNX_BAD_ORDER},
      {"text", [&] { return gnx_deployment_check(site, nullptr, 10, nullptr); }, GNX_BAD_ARGUMENT},
      {"handle", [&] { return gnx_deployment_check(nullptr, nullptr, 0, nullptr); }, GNX_BAD_HANDLE},
      {"files", [&] { return gnx_stream_open(nullptr, 2, site, &files); }, GNX_BAD_ARGUMENT},
      {"no file", [&] { return gnx_stream_open(&absent, 0, site, &files); }, GNX_BAD_ARGUMENT},
      {"absent file", [&] { return gnx_stream_open(&absent, 1, site, &files); }, GNX_BAD_INPUT},
      {"options of no size", [&] { return gnx_engine_open(site, &options, &out); }, GNX_BAD_ARGUMENT},
      {"garbage", [&] { return gnx_engine_next(garbage, files, &solution); }, GNX_BAD_HANDLE},
      {"another kind",
       [&] { return gnx_engine_next(reinterpret_cast<gnx_engine*>(files), files, &solution); },
       GNX_BAD_HANDLE},
      {"stream", [&] { return gnx_engine_next(engine, nullptr, &solution); }, GNX_BAD_HANDLE},
      {"solution", [&] { return gnx_engine_next(engine, files, nullptr); }, GNX_BAD_ARGUMENT},
      {"small solution", [&] { return gnx_engine_next(engine, files, &small); }, GNX_BAD_ARGUMENT},
      {"solution of no size", [&] { return gnx_engine_next(engine, files, &none); }, GNX_BAD_ARGUMENT},
      {"huge solution", [&] { return gnx_engine_next(engine, files, &huge); }, GNX_BAD_ARGUMENT},
      {"types", [&] { return gnx_engine_start(engine, time, nullptr, nullptr, nullptr, nullptr); },
       GNX_BAD_ARGUMENT},
      {"no types", [&] { return gnx_engine_start(engine, time, "G1C", nullptr, nullptr, nullptr); },
       GNX_BAD_ARGUMENT},
      {"message", [&] { return gnx_engine_feed_message(engine, nullptr, sizeof message); }, GNX_BAD_ARGUMENT},
      {"small message", [&] { return gnx_engine_feed_message(engine, &message, 8); }, GNX_BAD_ARGUMENT},
      {"satellite of no name", [&] { return gnx_engine_feed_message(engine, &message, sizeof message); },
       GNX_BAD_ARGUMENT},
      {"observations",
       [&] { return gnx_engine_feed_epoch(engine, time, nullptr, sizeof observation, 3, &solution); },
       GNX_BAD_ARGUMENT},
      {"too many observations",
       [&] {
         return gnx_engine_feed_epoch(engine, time, &observation, sizeof observation, SIZE_MAX / 2,
                                      &solution);
       },
       GNX_BAD_ARGUMENT},
      {"text without end",
       [&] { return gnx_engine_feed_epoch(engine, time, &observation, sizeof observation, 1, &solution); },
       GNX_BAD_ARGUMENT},
      {"no time",
       [&] {
         return gnx_engine_feed_epoch(engine, {-1, std::nan("")}, nullptr, 0, 0, &solution);
       },
       GNX_BAD_ARGUMENT},
      {"signal of no name",
       [&] { return gnx_engine_feed_corrections(engine, time, time, nullptr, 0, 0, &bias, sizeof bias, 1); },
       GNX_BAD_ARGUMENT},
      {"epoch before the start",
       [&] { return gnx_engine_feed_epoch(engine, time, nullptr, 0, 0, &solution); }, GNX_BAD_ORDER},
      {"judge", [&] { return gnx_engine_obey(engine, nullptr, nullptr, nullptr, 0, nullptr); },
       GNX_BAD_HANDLE},
      {"place of the judge", [&] { return gnx_judge_open(site, time, "G:C1C", "", nullptr, nullptr); },
       GNX_BAD_ARGUMENT},
      {"bands", [&] { return gnx_engine_bands(engine, nullptr, sizeof(gnx_band), 5, nullptr); },
       GNX_BAD_ARGUMENT},
  };
  for (const Fault& fault : faults) {
    EXPECT_EQ(fault.call(), fault.expected) << fault.what << ": " << gnx_last_error();
    EXPECT_STRNE(gnx_last_error(), "") << fault.what;
  }
  EXPECT_EQ(gnx_engine_next(engine, files, &solution), GNX_OK)
      << "nothing of it has done harm: " << gnx_last_error();
  EXPECT_EQ(gnx_engine_start(engine, time, "G:C1C,L1C", nullptr, nullptr, nullptr), GNX_BAD_ORDER) << "twice";
  EXPECT_EQ(gnx_engine_finish(engine), GNX_OK) << gnx_last_error();
  EXPECT_EQ(gnx_engine_next(engine, files, &solution), GNX_BAD_ORDER) << "behind the end";

  EXPECT_EQ(gnx_engine_close(engine), GNX_OK);
  EXPECT_EQ(gnx_engine_close(engine), GNX_BAD_HANDLE) << "twice";
  EXPECT_EQ(gnx_engine_restart(engine), GNX_BAD_HANDLE);
  EXPECT_EQ(gnx_engine_close(nullptr), GNX_OK);
  gnx_stream_close(files);
  gnx_deployment_close(site);
  EXPECT_STREQ(gnx_status_name(GNX_BAD_ORDER), "GNX_BAD_ORDER");
  EXPECT_STREQ(gnx_status_name(77), "");
}

TEST(InterfaceInC, EnginesThatCannotRunEndNothingElse) {
  gnx_deployment* site = openSite();
  gnx_stream* files = openFiles(site);
  gnx_engine_options options{};
  options.size = sizeof options;
  options.worker = "/bin/false";
  gnx_engine* engine = openEngine(site, &options);
  gnx_solution solution = emptySolution();
  EXPECT_EQ(gnx_engine_next(engine, files, &solution), GNX_ENGINE_ENDED) << gnx_last_error();
  gnx_engine_close(engine);
  gnx_stream_close(files);
  gnx_deployment_close(site);

  // A configuration that the engine refuses ends no host that has the engine in its own process.
  support::TemporaryDirectory broken;
  std::filesystem::copy(smallRun().site, broken.path(), std::filesystem::copy_options::recursive);
  std::string json = support::readFile(broken.path() / "ppp.json");
  json.replace(json.find("\"RAW"), 4, "\"BAD");
  support::writeFile(broken.path() / "ppp.json", json);
  ASSERT_EQ(gnx_deployment_open(broken.path().c_str(), &site), GNX_OK) << gnx_last_error();
  options = {};
  options.size = sizeof options;
  options.in_process = 1;
  EXPECT_EQ(gnx_engine_open(site, &options, &engine), GNX_BAD_INPUT);
  EXPECT_THAT(gnx_last_error(), HasSubstr("only support RAW,IF and SF"));
  gnx_deployment_close(site);
}

TEST(InterfaceInC, StandsCallsFromSeveralThreads) {
  gnx_deployment* site = openSite();
  gnx_stream* files = openFiles(site);
  gnx_engine* shared = openEngine(site);
  gnx_judge* judge = nullptr;
  const gnx_time noon{1'795'000'000, 0.0};
  EXPECT_EQ(gnx_judge_open(site, noon, "G:C1C,L1C,C2W,L2W", "G:1C,2W", nullptr, &judge), GNX_OK);
  std::atomic<int> epochs{0};
  const auto work = [&](unsigned seed) {
    gnx_solution solution = emptySolution();
    for (unsigned k = 0; k < 12; ++k) {
      if (gnx_engine_next(shared, files, &solution) == GNX_OK) ++epochs;
      size_t count = 0;
      gnx_engine_bands(shared, nullptr, sizeof(gnx_band), 0, &count);
      gnx_engine_why(shared, nullptr, 0, &count);
      gnx_deployment* own = nullptr;
      if (gnx_deployment_open(smallRun().site.c_str(), &own) == GNX_OK) gnx_deployment_close(own);
      gnx_judge_feed_epoch(judge, noon, nullptr, 0, 0);
      gnx_engine_obey(shared, judge, nullptr, nullptr, 0, &count);
      // Judge and engine go away under the others.
      if (seed == 3 && k == 6) gnx_judge_close(judge);
      if (seed == 1 && k == 9) gnx_engine_close(shared);
      if (seed == 2) gnx_engine_restart(reinterpret_cast<gnx_engine*>(std::uintptr_t{seed + 2 * k}));
    }
  };
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) threads.emplace_back(work, seed);
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(epochs, 8);
  gnx_stream_close(files);
  gnx_deployment_close(site);
}

// Whoever loads the library by hand finds every function of the header.
TEST(InterfaceInC, IsFoundByName) {
  void* library = dlopen("libgnx.so.0.1", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const std::string header = support::readFile(support::kSourceDirectory + "/include/gnx.h");
  const std::regex function(R"(\b(?:gnx_status|const char\*) (gnx_[a-z_]+)\()");
  int count = 0;
  for (std::sregex_iterator found(header.begin(), header.end(), function), end; found != end;
       ++found, ++count)
    EXPECT_NE(dlsym(library, (*found)[1].str().c_str()), nullptr) << (*found)[1];
  EXPECT_EQ(count, 29);
  dlclose(library);
}

}  // namespace
}  // namespace gnx::test
