// The report of a run: arithmetic of the account, what a plot may leave out, and the page itself.

#include "report/report.h"

#include <cmath>

#include "gnx/account.h"
#include "report/gnuplot.h"
#include "report/run_events.h"
#include "report/thinning.h"
#include "run/run_files.h"
#include "run/run_plan.h"
#include "run/solution_files.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

namespace fs = std::filesystem;
using ::testing::Not;

class ReportFiles : public ::testing::Test {
 protected:
  const TempDir directory;
  const fs::path dir = directory.path();
};

TEST_F(ReportFiles, AccountJoinsTheLastTotalsOfTheEngineWithTheHostsCounts) {
  RunAccount account;
  SystemAccount& host = account['G'];
  host.in = 100;
  host.unplanned = 40;
  host.reasons["excluded"] = 8;
  directory.write("diagnostics.log",
                  "ACC 59025 0.000 STAN G in=10 used=9 partner=1\n"
                  "RES 59025 0.000 STAN G05 L1 phase 30.00 90.00 0.0012 - 333.0\n"
                  "ACC 59025 60.000 STAN G in=92 used=80 partner=5 lowelev=7\n");
  addEngineAccount(dir / "diagnostics.log", account);
  const SystemAccount& g = account.at('G');
  EXPECT_EQ(g.used, 80);
  EXPECT_EQ(g.reasons.at("lowelev"), 7);
  EXPECT_EQ(g.unexplained(), 0) << "100 in = 80 used + 8 excluded + 5 + 7";

  account['E'].in = 5;
  account['R'].unplanned = 12;
  EXPECT_EQ(totalOf(account).in, 105);
  EXPECT_EQ(totalOf(account).unexplained(), 5) << "nobody said what became of Galileo";
  EXPECT_THAT(adviceOn(account), HasSubstr("excluded by --exclude; name fewer")) << "8 of 20 left out";
  EXPECT_THAT(adviceOn({}), HasSubstr("--signals"));
  EXPECT_EQ(systemsOf(account), (std::vector<char>{'G', 'E'})) << "GLONASS has no planned signal";

  directory.write("account.csv", "system,item,count\nG,used,many\n");
  EXPECT_THROW(readAccount(dir / "account.csv"), InputError);
  EXPECT_TRUE(readAccount(dir / "nothing.csv").empty());
}

TEST_F(ReportFiles, EventsOfTheFixingAreKeptAndSatellitesCounted) {
  directory.write("events.csv",
                  "time_gpst,event,details\n"
                  "2020-06-25 00:00:00.000,configuration,file=a,b.json interval=1.000\n"
                  "2020-06-25 00:00:00.000,satellite_in,elevation=57.36 satellite=G02\n"
                  "2020-06-25 00:00:00.000,satellite_in,elevation=31.61 satellite=G03\n"
                  "2020-06-25 00:05:00.000,fix_gained,fixed=8 ratio=5.0\n"
                  "2020-06-25 00:06:00.000,satellite_out,reason=unobserved satellite=G02\n"
                  "2020-06-25 00:06:00.000,fix_lost,reason=unresolved,\n"
                  "2020-06-25 00:07:00.000,restart,reason=request\n"
                  "2020-06-25 00:08");
  const RunEvents run = readRunEvents(dir / "events.csv");
  ASSERT_EQ(run.events.size(), 3U);
  EXPECT_EQ(run.events[0].details, "fixed=8 ratio=5.0");
  EXPECT_EQ(run.events[1].name, "fix lost");
  EXPECT_EQ(run.events[2].time, "2020-06-25 00:07:00.000");
  EXPECT_EQ(run.satellitesIn, 2U);
  EXPECT_EQ(run.satellitesOut, 1U);
  EXPECT_TRUE(readRunEvents(dir / "absent.csv").events.empty());
  directory.write("events.csv", "time_gpst,event,details\nnonsense\n");
  EXPECT_THAT(inputError([&] { readRunEvents(dir / "events.csv"); }), HasSubstr("events.csv:2: event"));
}

TEST(Thinning, SeriesKeepsEveryExtremeAndItsEnds) {
  std::vector<PlotPoint> points;
  for (int i = 0; i < 100000; ++i) points.push_back({i * 1.0, std::sin(i * 0.01)});
  points[31234].y = 9.0;
  points[77777].y = -7.0;
  const std::vector<PlotPoint> kept = thinSeries(points, 2000);
  EXPECT_LE(kept.size(), 2010U);
  const auto [low, high] = std::ranges::minmax_element(kept, std::less(), &PlotPoint::y);
  EXPECT_EQ(high->y, 9.0);
  EXPECT_EQ(low->y, -7.0);
  EXPECT_EQ(kept.front().x, 0.0);
  EXPECT_EQ(kept.back().x, 99999.0);
  EXPECT_TRUE(std::ranges::is_sorted(kept, std::less(), &PlotPoint::x));
  EXPECT_EQ(thinSeries({{1.0, 2.0}}, 100).size(), 1U);
}

TEST(Thinning, CloudKeepsItsOutliers) {
  std::vector<PlotPoint> points;
  for (int i = 0; i < 60000; ++i) points.push_back({std::cos(i * 0.7), std::sin(i * 1.3)});
  points[123] = {5.0, 5.0};
  points[45678] = {-4.0, 3.0};
  const std::vector<PlotPoint> kept = thinCloud(points, 2500);
  EXPECT_LE(kept.size(), 2500U);
  EXPECT_GT(kept.size(), 500U);
  for (const double x : {5.0, -4.0}) EXPECT_EQ(std::ranges::count(kept, x, &PlotPoint::x), 1) << x;
}

/// A run of `seconds` one-second epochs at a known place, written as a replay writes it.
void writeRun(const fs::path& dir, int seconds) {
  RunPlan plan;
  plan.obs = {"/data/STAN00<XYZ>_01S_MO.rnx"};
  plan.reference = {{4075580.0, 931854.0, 4801568.0}};
  plan.interval = 1.0;
  writeRunPlan(dir / "run.json", plan);
  support::writeFile(dir / "ppp.json", R"({"common": {"freqused": "GPS:L1_L2   ! remark"}})");
  support::writeFile(dir / "signals.txt", "signals G: C1C/L1C\n");
  support::writeFile(dir / "account.csv", "system,item,count\nG,in,10\nG,used,9\nG,lowelev,1\n");
  SolutionFile csv(dir / "solution.csv", SolutionFormat::csv);
  std::ofstream diagnostics(dir / "diagnostics.log");
  for (int i = 0; i < seconds; ++i) {
    csv.write({.time = fromWeek(2111, i),
               .xyz = {4075580.01 + 0.3 / (1.0 + i), 931854.0, 4801568.0 + 0.001 * std::sin(i * 0.01)},
               .rows = 18,
               .satellites = {9, 0, 0, 0, 0, 0},
               .pdop = 1.5,
               .sigma0 = 0.8,
               .status = i < 600 ? 2 : 5,
               .fixed = i < 600 ? 0 : 8,
               .ratio = 5.0,
               .milliseconds = 0.5});
    if (i % 30 != 0) continue;
    const std::string at = printed(" 59021 %d.000 STAN ", i);
    for (int prn = 1; prn <= 9; ++prn)
      for (const char* kind : {"phase", "code"})
        diagnostics << "RES" << at
                    << printed("G0%d L1 %s %d.00 %d.00 %.3f - 300.0\n", prn, kind, 9 * prn, 39 * prn,
                               0.001 * ((i / 30 * 7 + prn) % 11 - 5));
    diagnostics << "ZTD" << at << "2.3 0.1 0.01 2.41\nCLK" << at << "G clock 12.5\nCLK" << at
                << "E offset 1.5\nION" << at << "G01 9.00 39.00 1.25 0.0 4\nFIX" << at << "wl "
                << (i < 300 ? 0 : 9) << " 7.5\n";
  }
  diagnostics << "AMB 59021 900.000 STAN G02 L1 18.00 0.19 0.0 1.0 59021.000000 59021.010417 1 30\n"
              << "AMB 59021 930.000 STAN G02 L1 18.00 0.19 0.0 1.0 59021.010764 59021.010764 3 1\n"
              << "AMB 59021 960.000 STAN G02 L1 18.00 0.19 0.0 1.0 59021.010764 59021.011111 3 2\n"
              << "OBS 59021 930.000 STAN G03 L2 27.00 partner\nOBS 59021 930.000 STAN G09 L2 3.00 lowelev\n";
  diagnostics << "RES 59021 86";  // a broken run ends anywhere
}

class ReportPage : public ReportFiles {
 protected:
  void SetUp() override {
    if (!Gnuplot::installed()) GTEST_SKIP() << "gnuplot is not installed";
  }
};

TEST_F(ReportPage, HasEverySectionAndNeedsNothingOutside) {
  writeRun(dir, 7200);
  ReportOptions options;
  options.figures = dir / "figures";
  const std::string html = readFile(writeReport(dir, options));
  for (const char* id :
       {"summary", "account", "enu", "horizontal", "sky", "satellites", "fixes", "residuals-time",
        "residuals-elevation", "zenith-delay", "clock", "sigma0", "settings", "arcs", "ionosphere"}) {
    EXPECT_THAT(html, HasSubstr("id=\"" + std::string(id) + "\""));
    EXPECT_THAT(html, HasSubstr("href=\"#" + std::string(id) + "\"")) << "navigation";
  }
  for (const char* outside : {"http", "src=", "@import", "url(", "<script ", "<use"})
    EXPECT_THAT(html, Not(HasSubstr(outside)));
  EXPECT_THAT(html, HasSubstr("STAN00&lt;XYZ&gt;_01S_MO.rnx")) << "names are text, not markup";
  EXPECT_THAT(html, HasSubstr("GPS:L1_L2</td>")) << "settings without remarks";
  EXPECT_THAT(html, HasSubstr("0 of 6600</span>")) << "wrong fixes";
  EXPECT_THAT(html, HasSubstr("wide-lane: epochs with fixes"));
  EXPECT_THAT(html, HasSubstr("G02 00:16 slip</title>"));
  EXPECT_THAT(html, HasSubstr("strokes: 1 slips; crosses: 1 values"));
  EXPECT_THAT(html, HasSubstr(">00:30<")) << "times as hours and minutes";
  EXPECT_THAT(readFile(dir / "figures" / "enu.svg"), HasSubstr("xmlns="));
}

TEST_F(ReportPage, StaysSmallForADayOfSecondsAndTakesTheReferenceOfTheCommandLine) {
  writeRun(dir, 86400);
  ReportOptions options;
  options.reference = {{4075580.51, 931854.0, 4801568.0}};
  const std::string html = readFile(writeReport(dir, options));
  EXPECT_LT(html.size(), 3U << 20);
  EXPECT_THAT(html, HasSubstr("85800 of 85800</span>")) << "wrong fixes: half a metre off";
}

TEST_F(ReportPage, ListsEventsOfTheFixingUpToAShortTable) {
  writeRun(dir, 600);
  EXPECT_THAT(readFile(writeReport(dir, {})), Not(HasSubstr("#events")));
  std::string events = "time_gpst,event,details\n0,satellite_in,satellite=G02\n";
  for (int k = 0; k < 41; ++k) events += printed("12:%02d,fix_lost,reason=norows\n", k);
  support::writeFile(dir / "events.csv", events);
  const std::string html = readFile(writeReport(dir, {}));
  EXPECT_THAT(html, HasSubstr("href=\"#events\""));
  EXPECT_THAT(html, HasSubstr("entered the filter (1) or left it (0). The first 40 of 41 other"));
  EXPECT_THAT(html, HasSubstr("<td>12:39</td><td>fix lost</td><td>reason=norows</td>"));
  EXPECT_THAT(html, Not(HasSubstr("<td>12:40</td>")));
}

TEST_F(ReportPage, ARunWithoutResidualsAndReferenceStillHasAPage) {
  writeRun(dir, 600);
  fs::remove(dir / "diagnostics.log");
  fs::remove(dir / "account.csv");
  writeRunPlan(dir / "run.json", RunPlan());
  const std::string html = readFile(writeReport(dir, {}));
  EXPECT_THAT(html, HasSubstr("No residuals were kept"));
  EXPECT_THAT(html, HasSubstr("mean position of the last part"));
  EXPECT_THAT(html, Not(HasSubstr("id=\"sky\"")));
}

TEST_F(ReportPage, StationHasItsAntennaCoordinateAndSignals) {
  writeRun(dir, 600);
  RunPlan plan = readRunPlan(dir / "run.json");
  plan.antenna = "TRM59800.00     SCIS";
  support::writeFile(dir / "site.rnx",
                     headerLine("     3.04           OBSERVATION DATA    G", "RINEX VERSION / TYPE") +
                         headerLine("G    2 L1C S1C", "SYS / # / OBS TYPES") +
                         headerLine("", "END OF HEADER") +
                         "> 2020 06 21 00 00  0.0000000  0  1\nG05 105000000.123          45.250\n");
  plan.obs = {(dir / "site.rnx").string()};
  writeRunPlan(dir / "run.json", plan);
  support::writeFile(dir / "antenna.atx",
                     "TRM59800.00     SCIS                                        TYPE / SERIAL NO\n");
  support::writeFile(dir / "summary.json",
                     R"({"position": {"xyz_m": [4075580.0, 931854.0, 4801568.0], "point": "marker",
    "frame": "IGb14", "time": "2020-06-21 00:09:59", "sigma_east_north_up_m": [0.0011, 0.0012, 0.0031],
    "ellipse_95": {"major_m": 0.003, "minor_m": 0.0026, "azimuth_deg": 17.0}}})");
  const std::string html = readFile(writeReport(dir, {}));
  EXPECT_THAT(html, HasSubstr("TRM59800.00     SCIS (found in the antenna file)"));
  EXPECT_THAT(html, HasSubstr("4075580.0000  931854.0000  4801568.0000"));
  EXPECT_THAT(html, HasSubstr("marker, IGb14, 2020-06-21 00:09:59"));
  EXPECT_THAT(html, HasSubstr("3.0 mm by 2.6 mm, the longer axis at azimuth 17°"));
  EXPECT_THAT(html, HasSubstr("id=\"snr\""));
  support::writeFile(dir / "antenna.atx", "NONE\n");
  EXPECT_THAT(readFile(writeReport(dir, {})),
              HasSubstr("not in the antenna file: offsets and patterns are zero"));
}

TEST_F(ReportPage, CardsTellWhatTheRunWasFor) {
  writeRun(dir, 600);  // float, ten minutes
  RunPlan plan = readRunPlan(dir / "run.json");
  plan.reference.reset();
  plan.mode = "kinematic";
  writeRunPlan(dir / "run.json", plan);
  const std::string standing = readFile(writeReport(dir, {}));
  EXPECT_THAT(standing, Not(HasSubstr("epochs fixed")));
  EXPECT_THAT(standing, Not(HasSubstr("id=\"fixes\"")));
  EXPECT_THAT(standing, Not(HasSubstr("after 1 h")));
  EXPECT_THAT(standing, HasSubstr("horizontal repeatability"));

  SolutionFile csv(dir / "solution.csv", SolutionFormat::csv);
  for (int i = 0; i < 600; ++i)
    csv.write(
        {.time = fromWeek(2111, i), .xyz = {4075580.0 + i, 931854.0, 4801568.0}, .rows = 18, .status = 2});
  const std::string driven = readFile(writeReport(dir, {}));
  EXPECT_THAT(driven, HasSubstr("id=\"track\""));
  EXPECT_THAT(driven, Not(HasSubstr("repeatability"))) << "of a place that is none";
}

TEST_F(ReportPage, TextOfAHostileRunIsNowhereMarkup) {
  writeRun(dir, 600);
  const std::string hostile = "<script>\"&'", harmless = "&lt;script&gt;&quot;&amp;&#39;";
  RunPlan plan;
  plan.obs = {"/data/" + hostile + "station"};
  plan.nav = {"/data/" + hostile + "navigation"};
  plan.antenna = hostile + "antenna";
  plan.receiver = hostile + "receiver";
  plan.mode = hostile + "mode";
  plan.resolution = true;
  plan.excluded = {hostile + "excluded"};
  writeRunPlan(dir / "run.json", plan);
  support::writeFile(dir / "signals.txt", hostile + "signals\n");
  support::writeFile(dir / "account.csv", "system,item,count\nG,in,10\nG," + hostile + "reason,1\n");
  support::writeFile(dir / "ppp.json", R"({"common": {"refpoint": "<script>\"&'setting"}})");
  support::writeFile(dir / "events.csv", "time_gpst,event,details\n0,restart," + hostile + "event\n");
  std::ofstream(dir / "diagnostics.log", std::ios::app)
      << "\nINT 59021 60.000 STAN G01 G02 " << hostile << "level L1-L2 1.1 1\n"
      << "RES 59021 60.000 STAN G1'.system('exit').'" << hostile << " L1 phase 30.00 90.00 0.001 - 300.0\n";
  const std::string html = readFile(writeReport(dir, {}));
  EXPECT_EQ(html.find("<script"), html.rfind("<script")) << "but that of the page";
  EXPECT_THAT(html, Not(HasSubstr("\"&'")));
  for (const char* place : {"station", "navigation", "antenna", "receiver", "mode", "excluded", "signals",
                            "reason", "setting", "level", "event"})
    EXPECT_THAT(html, HasSubstr(harmless + place));
  for (const char* before : {"<title>", "<h1>"}) EXPECT_THAT(html, HasSubstr(before + harmless + "station"));

  const fs::path folder = dir / hostile;  // names the page of a run without observation files
  fs::create_directory(folder);
  writeRun(folder, 60);
  writeRunPlan(folder / "run.json", RunPlan());
  EXPECT_THAT(readFile(writeReport(folder, {})), HasSubstr("<title>" + harmless + ", 2020-06-21</title>"));
}

TEST_F(ReportFiles, SaysWhatIsMissing) {
  ReportOptions options;
  options.gnuplot = (dir / "no-gnuplot").string();
  EXPECT_THROW(writeReport(dir, options), UsageError);
  EXPECT_THAT(inputError([&] { readRunFiles(dir); }), HasSubstr("holds no run.json"));
}

}  // namespace
}  // namespace gnx::test
