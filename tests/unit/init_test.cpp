#include <iterator>

#include "deployment/antex_file.h"
#include "deployment/choices.h"
#include "deployment/deployment.h"
#include "deployment/json_template.h"
#include "gnx/satellite.h"
#include "support/host_files.h"
#include "text/json_file.h"
#include "text/text_reader.h"

namespace gnx::test {
namespace {

namespace fs = std::filesystem;

struct Deployment : testing::Test {
  void SetUp() override {
    // A grid by reference keeps the tests from writing 16 MB each.
    options.grid = base / "grid.grd";
    std::string text = "header\n", row;
    for (int k = 0; k < 44; ++k) row += " 1";
    for (int i = 0; i < 64800; ++i) text += row + "\n";
    support::writeFile(options.grid, text);
    options.date = toGpsTime({2020, 6, 25, 12, 0, 0.0});
  }

  std::string write() {
    std::ostringstream notes;
    writeDeployment(dir, options, notes);
    return notes.str();
  }
  std::string refusal() {
    return messageOf<UsageError>([&] { write(); });
  }
  std::set<std::string> listedSatellites() const {
    std::set<std::string> names;
    for (const std::string& line : support::linesOf(readFile(dir / "satellites.txt")))
      if (line.starts_with(' ')) names.insert(line.substr(1, 3));
    return names;
  }
  /// A value without its remark, by file, group and key.
  std::string value(const char* file, const char* group, const char* key) const {
    return plainValue(readJsonFile(dir / file)[group][key]);
  }

  const TempDir home;
  const fs::path base = home.path(), dir = base / "run";
  DeploymentOptions options;
};

TEST_F(Deployment, EverySatelliteHasItsRowAndAntennaAndEachNameOneVehicle) {
  options.systems = "GECBJ";
  write();
  const TableTime date = tableTime(options.date);
  const auto rows = parseSatelliteTable(readFile(dir / "satnav.txt"));
  const auto blocks = readAntex(dir / "antenna.atx");
  const std::set<std::string> listed = listedSatellites();
  EXPECT_GT(listed.size(), 90u);
  for (const std::string& name : listed) {
    const auto row =
        std::ranges::find_if(rows, [&](const auto& r) { return r.name == name && r.validAt(date); });
    ASSERT_NE(row, rows.end()) << name;
    EXPECT_TRUE(std::ranges::any_of(blocks, [&](const AntexBlock& b) {
      return b.serial == name && b.type.find(row->block) != std::string::npos && satelliteOf(b).validAt(date);
    })) << name;
  }
  // Vehicle 76 became G23 three weeks later.
  EXPECT_FALSE(listed.contains("G23"));
  EXPECT_TRUE(listed.contains("G04"));
  for (const TableTime& day :
       {TableTime{2013, 5, 1, 0, 0, 0}, {2019, 1, 5, 0, 0, 0}, {2026, 11, 21, 0, 0, 0}}) {
    std::set<std::string> names;
    for (const SatelliteRecord& r : rows) {
      EXPECT_TRUE(!r.validAt(day) || names.insert(r.name).second) << r.name;
      EXPECT_GT(r.mass_kg, 100.0) << r.name;
    }
    EXPECT_GT(names.size(), 60u);
  }
}

// Offsets are in axes with the Sun on the side of x; the engine reverses those of some GPS blocks, and flies
// orbit-normal what it knows by a name of BeiDou.
TEST_F(Deployment, OffsetsFitTheAttitudeThatTheEngineFlies) {
  options.systems = "GJ";
  write();
  std::map<std::string, std::string> offsets, types, rows;
  for (const AntexBlock& b : readAntex(dir / "antenna.atx")) {
    if (!satelliteOf(b).validAt(tableTime(options.date))) continue;
    types[b.serial] = satelliteOf(b).block;
    offsets[b.serial] = b.frequencies.front().lines.front().substr(0, 20);
  }
  for (const auto& r : parseSatelliteTable(readFile(dir / "satnav.txt")))
    if (r.validAt(tableTime(options.date))) rows[r.name] = r.block;
  EXPECT_EQ(types["G18"], "BLOCK IIIA");
  EXPECT_EQ(offsets["G18"], "     60.00    -20.00");
  EXPECT_EQ(offsets["G01"], "    390.00      0.00") << "block IIF";
  EXPECT_EQ(types["J07"], "BEIDOU-3G-CAST");
  EXPECT_EQ(rows["J07"], "BEIDOU-3G-CAST");
  EXPECT_EQ(types["J02"], "QZSS-2I");
  EXPECT_TRUE(listedSatellites().contains("J07"));
}

TEST_F(Deployment, ChoicesArriveInTheConfiguration) {
  options.systems = "GEC";
  options.freqobs = "GPS:L1_L2_L5 BDS:B1c_B2a";
  options.freqused = "GAL:E5a_E1";
  options.run.mode = Mode::kinematic;
  options.run.interval_s = 5.0;
  options.run.antennaDelta_m = {0.0, 0.0, 0.1206};
  write();
  for (const char* key : {"freqobs", "freqused"})
    EXPECT_EQ(value("ppp.json", "common", key), "GPS:L1_L2_L5 GAL:E5a_E1 BD3:B1c_B2a");
  EXPECT_EQ(value("ppp.json", "dcbdatum", "clockdatum"), "GPS:L1_L2 GAL:E5a_E1 BD3:B1c_B2a");
  EXPECT_EQ(value("ppp.json", "common", "noisecoef"), "2000.0 1000.0");
  EXPECT_EQ(value("ppp.json", "common", "interval"), "5");
  const Json::Value ewl = readJsonFile(dir / "ambiguity.json")["amb"]["ewl"];
  EXPECT_EQ(plainValue(ewl["resolution"]), "on");
  EXPECT_EQ(plainValue(ewl["comb"]), "GPS:L2_L5 GAL:E1_E5a BD3:B1c_B2a");
  const RunSettings run = readRunSettings(dir);
  EXPECT_EQ(run.mode, Mode::kinematic);
  EXPECT_EQ(run.antennaDelta_m, options.run.antennaDelta_m);
  // The third GPS frequency needs offsets that blocks up to IIF do not define.
  for (const AntexBlock& b : readAntex(dir / "antenna.atx"))
    EXPECT_TRUE(b.serial[0] != 'G' || b.find("G05") != nullptr) << b.serial;
}

TEST_F(Deployment, InconsistentChoicesAreRefusedInASentence) {
  const struct {
    const char *systems, *observed, *used, *combination, *sentence;
  } cases[] = {
      {"", "", "", "RAW", "no system"},
      {"GX", "", "", "RAW", "'X' is unknown"},
      {"GG", "", "", "RAW", "GPS is named twice"},
      {"R", "", "", "RAW", "never uses it"},
      {"GE", "GPS:L1_L2 GAL:E1_L2", "", "RAW",
       "L2 does not belong to Galileo, which has E1, E5a, E6, E5b, E5"},
      {"GE", "", "GPS:L1", "RAW", "GPS has only L1"},
      {"GE", "", "GAL:E1", "IF", "Galileo has only E1"},
      {"GE", "GPS:L1_L2_L5", "", "AFIF",
       "AFIF needs three used frequencies of each system, but Galileo has two"},
      {"GE", "", "GPS:L1_L2", "SF", "SF uses one frequency, but GPS has 2"},
      {"E", "GAL:E1_E5a_E5b_E6", "", "RAW", "at most three"},
      {"GE", "GPS:L1_L2", "GPS:L1_L5", "RAW", "L5 of GPS is used but not observed"},
      {"GE", "BD3:B1_B3", "", "RAW", "names BeiDou-3, but the systems are GE"},
      {"GB", "BD2:B1_B2", "", "RAW", "write B2b instead of B2"},
      {"GE", "GPS:L1_L1", "", "RAW", "L1 of GPS twice"},
      {"GE", "GPS=L1_L2", "", "RAW", "words such as GPS:L1_L2"},
      {"GE", "GLO:L1_L2", "", "RAW", "'GLO' is no system"},
      {"GE", "", "", "PPP", "combination 'PPP' is unknown"},
  };
  for (const auto& c : cases) {
    options.systems = c.systems;
    options.freqobs = c.observed;
    options.freqused = c.used;
    options.combination = c.combination;
    EXPECT_THAT(refusal(), HasSubstr(c.sentence));
  }
  EXPECT_FALSE(fs::exists(dir / "ppp.json"));
}

TEST_F(Deployment, RunSettingsAreChecked) {
  for (const auto& [interval_s, cutoff_deg, sentence] :
       {std::tuple{0.0, 5.0, "interval"}, {1.0, 90.0, "mask"}}) {
    options.run.interval_s = interval_s;
    options.run.cutoff_deg = cutoff_deg;
    EXPECT_THAT(refusal(), HasSubstr(sentence));
  }
  fs::create_directories(dir);
  writeRunSettings(dir, options.run);  // as somebody may have edited it
  EXPECT_THROW(readRunSettings(dir), InputError);
  options.run = {};
  writeTextFile(dir / "gnx.json", R"({"mode": "walking"})");
  EXPECT_THROW(readRunSettings(dir), InputError);
  options.date = toGpsTime({1975, 1, 1, 0, 0, 0.0});
  EXPECT_THAT(refusal(), HasSubstr("no GPS satellite has an antenna valid at 1975-01-01"));
}

TEST_F(Deployment, OverridesKeepTheCommentAndUnknownKeysAreRefused) {
  options.resolution = false;  // integers and ION_NONE do not go together
  options.overrides = {{"common.ionmodel", "ION_NONE"},       {"threshold.rangelimit", "30.0"},
                       {"amb.n1.lambda.success_rate", "2.5"}, {"amb.osb_switch", "on"},
                       {"common.orbtype", "SSR BRD"},         {"files.ocload", "my.blq"}};
  write();
  const Json::Value main = readJsonFile(dir / "ppp.json")["common"],
                    amb = readJsonFile(dir / "ambiguity.json");
  EXPECT_THAT(main["ionmodel"].asString(), testing::MatchesRegex("ION_NONE +! .*"));
  EXPECT_EQ(main["orbtype"].size(), 2u);
  EXPECT_EQ(value("ppp.json", "threshold", "rangelimit"), "30.0");
  EXPECT_EQ(plainValue(amb["amb"]["n1"]["lambda"]["success_rate"]), "2.5");
  EXPECT_EQ(plainValue(amb["amb"]["wl"]["lambda"]["success_rate"]), "3.0");
  EXPECT_EQ(plainValue(amb["osb_switch"]), "on");
  EXPECT_EQ(plainValue(readJsonFile(dir / "tables.json")["files"]["ocload"][0]), "my.blq");
  for (const char* key : {"common.ionmodell", "common", "amb.n2.comb", ""}) {
    options.overrides = {{key, "x"}};
    EXPECT_THAT(refusal(), HasSubstr("is no key of a deployment")) << key;
  }
}

// Its numbers are tested with the published case of the troposphere.
TEST_F(Deployment, BuiltInGridIsWrittenWholeWithANote) {
  options.grid.clear();
  EXPECT_THAT(write(), HasSubstr("no troposphere grid"));
  const std::vector<std::string> lines = support::linesOf(readFile(dir / "gpt2_1w.grd"));
  ASSERT_EQ(lines.size(), 64801u);  // with a header
  for (const int cell : {0, 16932, 64799}) {
    std::istringstream numbers(lines[static_cast<std::size_t>(cell) + 1]);
    const std::vector<double> v{std::istream_iterator<double>(numbers), {}};
    ASSERT_EQ(v.size(), 44u);
    EXPECT_EQ(v[0], 89.5 - cell / 360);
    EXPECT_EQ(v[1], 0.5 + cell % 360);
  }
}

TEST_F(Deployment, DamagedFilesAreNamed) {
  const auto message = [&] { return inputError([&] { write(); }); };
  options.antex = base / "none.atx";
  EXPECT_THAT(message(), HasSubstr("none.atx"));
  options.antex = options.grid;
  EXPECT_THAT(message(), HasSubstr("this is no antenna file"));
  options.antex.clear();
  options.grid = home.write("short.grd", "header\n1 2 3\n");
  EXPECT_THAT(message(), HasSubstr("short.grd:2: grid: 44 numbers expected"));
}

TEST_F(Deployment, RealAntennaFileAndPackedFiles) {
  GNX_REQUIRE_DATA("antex");
  const fs::path data = support::realFile("");
  options.systems = "GECBJ";
  options.freqobs = "GPS:L1_L2_L5";
  options.date = toGpsTime({2021, 12, 1, 0, 0, 0.0});  // after the launch of a satellite that the file lacks
  options.antex = data / "antex/igs14_2134.atx.gz";
  options.grid = data / "tropo/gpt2_5w.grd.gz";
  options.blq = data / "tides/ocean_loading.blq";
  options.run.antenna = "TRM59800.00     SNOW";
  const std::string notes = write();
  EXPECT_THAT(notes, HasSubstr("'TRM59800.00     NONE' is taken"));
  EXPECT_THAT(notes, HasSubstr("QZSS: left out for want of an antenna block: J04"));
  EXPECT_EQ(readRunSettings(dir).antenna, "TRM59800.00     NONE");
  EXPECT_EQ(readFile(dir / "ocean.blq"), readFile(options.blq));
  const std::string antex = readFile(dir / "antenna.atx");
  EXPECT_NE(antex.find("    394.00      0.00   1501.80"), std::string::npos) << "G01 of vehicle 63";
  EXPECT_EQ(antex.find("GLONASS-M"), std::string::npos) << "systems that are not chosen stay out";
  EXPECT_FALSE(listedSatellites().contains("J04"));
}

}  // namespace
}  // namespace gnx::test
