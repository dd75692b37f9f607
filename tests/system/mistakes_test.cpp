// What users do wrong, and what the program says: arguments, exit status, a part of the text. No mistake ends
// with status 0 and not a word.

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fstream>

#include "run/run_files.h"
#include "support/child.h"
#include "support/files.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx::test {
namespace {

using support::ChildResult;
using support::TemporaryDirectory;
using testing::HasSubstr;
constexpr auto run = support::runProgram;

/// Inputs of all cases, made once: a quarter of an hour at two stations, and a deployment of another date.
class Inputs {
 public:
  Inputs() {
    const std::string choices = " --hours 0.25 --interval 30 --systems GE --rtcm --quiet";
    made =
        run("simulate " + path("sky") + choices).status == 0 &&
        run("simulate " + path("other") + " --site 20 30 100" + choices).status == 0 &&
        run("init " + path("deployment") + " --systems GE --refpoint APC_ITRF --date 2026-06-01").status == 0;
    m_directory.write("empty", "");
    m_directory.write("far.blq", "$$ FAR0, RADI TANG  lon/lat:  100.0   -10.0   0.0\n");
    m_directory.write("antennas.atx",
                      "     1.4            M                                       ANTEX VERSION / SYST\n");
    m_directory.write("semicolons.csv", "station;obs\n");
    m_directory.write("misspelt.csv", "station,obss\n");
    m_directory.write("orbits.sp3", "#dP2020  6 25  0  0  0.00000000      96 ORBIT IGS14 FIT GRG\n");
  }
  std::string path(const std::string& name) const { return (m_directory.path() / name).string(); }

  bool made = false;

 private:
  TemporaryDirectory m_directory;
};

const Inputs& inputs() {
  static const Inputs made;
  EXPECT_TRUE(made.made);
  return made;
}

/// Names in braces are files of the inputs; {good} are those of a right run.
std::string filled(std::string text) {
  const auto replace = [&](const std::string& name, const std::string& with) {
    for (auto at = text.find(name); at != std::string::npos; at = text.find(name))
      text.replace(at, name.size(), with);
  };
  replace("{good}", "--obs {sky/observations.rnx} --nav {sky/navigation.rnx} --ssr {sky/corrections.ssr}");
  replace("{products}", "--obs {sky/observations.rnx} --nav {sky/navigation.rnx}");
  for (auto at = text.find('{'); at != std::string::npos; at = text.find('{')) {
    const auto end = text.find('}', at);
    text.replace(at, end - at + 1, inputs().path(text.substr(at + 1, end - at - 1)));
  }
  return text;
}

struct Mistake {
  const char* arguments;
  int status;
  const char* text;
};

void expectTold(const Mistake& mistake) {
  const TemporaryDirectory out;
  std::string arguments = filled(mistake.arguments);
  const bool replay = arguments.starts_with("replay"), live = arguments.starts_with("live");
  if ((replay || live) && arguments.find("--out") == std::string::npos)
    arguments += (replay ? " --quiet --out " : " --out ") + out.path().string();
  const ChildResult r = run(arguments);
  EXPECT_EQ(r.status, mistake.status) << arguments << '\n' << r.output;
  EXPECT_THAT(r.output, HasSubstr(mistake.text)) << arguments;
}

TEST(Mistakes, OfTheCommandLineAreRefusedAtOnceWithTheNearestWord) {
  const Mistake mistakes[] = {
      {"reply", 2, "did you mean replay?"},
      {"replay {good} --antx x", 2, "did you mean --antex?"},
      {"replay {good} --exclude G5", 2, "'G5' names no satellite; did you mean G05?"},
      {"replay {good} --exclude G05,g07", 2, "did you mean G07?"},
      {"replay {good} --reference 55.49 8.45 59", 2, "looks like latitude and longitude"},
      {"replay {good} --reference 3D 6363632.95-1234567.1 2", 2, "Numbers of an option stand apart"},
      {"replay {good} --position 1 2 3e9", 2, "from the centre of the Earth"},
      {"replay {good} --from 2026-11-21T02:00:00 --to 2026-11-21T01:00:00", 2, "is later than --to"},
      {"replay {good} --deployment {deployment} --fix", 2, "--fix has no effect with --deployment"},
      {"replay {good} --ionex maps.inx --combination IF", 2, "--ionex has no effect with --combination IF"},
      {"replay {good} --orbex {sky/navigation.rnx}", 2, "which --orbex does not take; give it with --nav"},
      {"replay {good} --wl-biases", 2, "--wl-biases has no effect without a clock file"},
      {"replay {good} --out /proc/x", 2, "choose another --out"},
      {"simulate {none} --site nan 0 0", 2, "--site takes latitude"},
      {"init {deployment}", 2, "--force"},
      {"replay {good} --exclude R99", 2, "'R99' names no satellite"},
      {"replay {good} --cutoff 5 --cutoff 7", 2, "--cutoff is given 2 times; give it once"},
      {"replay --obs - --nav - --broadcast", 2, "standard input (-) can be one file alone"},
      {"", 2, "name a command"},
      {"replay {good} --fix-clocks 300", 2, "--fix-clocks has no effect without --fix"},
      {"replay {good} --deployment {deployment} --solution-name @POS", 2, "holds no names of files"},
      {"replay {good} --antenna-delta 0 0 83", 2, "are these millimetres?"},
      {"simulate {none} --radius 50", 2, "--radius has no effect on a receiver that stands"},
      {"simulate {none} --code-sigma -1", 2, "--code-sigma"},
      {"products --ssr {orbits.sp3} --nav {sky/navigation.rnx} --out {none}", 2, "give it with --sp3"},
      {"products --ssr {sky/corrections.ssr} --nav {sky/navigation.rnx} --out {empty}", 2,
       "choose another --out"},
      {"init {none} --antex {orbits.sp3}", 2, "give it with --sp3"},
      {"batch {semicolons.csv}", 2, "cells stand between commas"},
      {"batch {misspelt.csv}", 2, "'obss' is no option of 'gnx replay' (did you mean obs?)"},
      {"batch {sky/navigation.rnx} -- --broadcast", 2, "give it with --nav"},
      {"compare {sky} {deployment}", 2, "holds no run.json; give the directory"},
  };
  filled("{good}");
  const auto start = std::chrono::steady_clock::now();
  for (const Mistake& mistake : mistakes) expectTold(mistake);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  EXPECT_LT(took.count() / std::size(mistakes), 1.0) << "refusals cost no time";
}

TEST(Mistakes, InChoicesOfADeploymentNameTheNearestKey) {
  const Mistake mistakes[] = {
      {"init {none} --set threshold.rangelimit=abc", 2, "takes numbers such as '50.0'"},
      {"init {none} --set common.ionmodl=ION_EST", 2, "did you mean common.ionmodel?"},
      {"replay {good} --systems GE --signals G:1C,5X", 2,
       "signal 5X of system G is on no observed frequency"},
  };
  for (const Mistake& mistake : mistakes) expectTold(mistake);

  const std::string file = inputs().path("deployment/gnx.json");
  const std::string sound = support::readFile(file);
  const auto spoilt = [&](const std::string& word, const std::string& wrong) {
    support::writeFile(file, std::string(sound).replace(sound.find(word), word.size(), wrong));
  };
  spoilt("cutoff_deg", "cutof_deg");
  expectTold({"replay {good} --deployment {deployment}", 0, "did you mean cutoff_deg?"});
  spoilt("\"interval_s\" : 30.0", "\"interval_s\" : \"30\"");
  expectTold({"replay {good} --deployment {deployment}", 2, "interval_s: is no number"});
  support::writeFile(file, sound);
}

TEST(Mistakes, InTablesOfADeploymentNameTheLine) {
  const struct {
    const char *file, *sound, *wrong, *text;
  } mistakes[] = {
      {"leapseconds.txt", "41499  11", "xx", "leapseconds.txt:6: leap second: 'xx' is no day"},
      {"leapseconds.txt", "41499", "31499", "day 31499 does not follow 41317"},
      {"satellites.txt", "G02 GPS", "G02 GPX", "'G02 GPX' is no name and system"},
      {"satnav.txt", "\nG02 ", "\nG00 ", "has no row of G02"},
      {"leapseconds.txt", "99999  37", "99999  36", "TAI-UTC of day 99999 is 37 s, not 36"},
      {"no_ratio_table.txt", "nrow 0 ndim 0", "nrow 3 ndim 2", "holds 0 of 3 rows"},
      {"no_ratio_table.txt", "nrow 0 ndim 0", "nrow 1 ndim 2\n 1.000 1.o00", "threshold 2: is no number"},
      {"predefine.txt", "! P", "P", "stands before the line"},
      {"polut1.txt", "0.008042", "8.042", "none of them beyond 1"},
      {"ut1t10.txt", "", nullptr, "a file of"},
  };
  for (const auto& [name, sound, wrong, text] : mistakes) {
    const std::string file = inputs().path("deployment/") + name;
    const std::string whole = support::readFile(file);
    std::string spoilt = wrong == nullptr ? "hello\n" : whole;
    if (wrong != nullptr) spoilt.replace(spoilt.find(sound), std::string(sound).size(), wrong);
    support::writeFile(file, spoilt);
    expectTold({"replay {good} --deployment {deployment}", wrong == nullptr ? 3 : 2, text});
    support::writeFile(file, whole);
  }
}

TEST(Mistakes, AFileInTheWrongPlaceIsNamedWithItsOption) {
  const Mistake mistakes[] = {
      {"replay {products} --ssr {orbits.sp3}", 2,
       "is an SP3 file of orbits, which --ssr does not take; give it with --sp3"},
      {"replay {good} --blq {antennas.atx}", 2, "give it with --antex"},
      {"replay {good} --antex {far.blq}", 2, "give it with --blq"},
      {"replay {good} --grid {orbits.sp3}", 2, "give it with --sp3"},
      {"replay --obs {sky/navigation.rnx} --nav {sky/navigation.rnx} --broadcast", 2, "give it with --nav"},
      {"replay --obs {sky/stream.rtcm3} --nav {sky/navigation.rnx} --broadcast", 2, "is a stream of RTCM 3"},
      {"replay --obs {empty} --nav {sky/navigation.rnx} --broadcast", 2, "is empty; fetch it again"},
      {"replay {good} --obs {other/observations.rnx}", 2, "a run takes files of one station"},
  };
  for (const Mistake& mistake : mistakes) expectTold(mistake);
}

TEST(Mistakes, ThatLeaveAResultAreWarnedOf) {
  const Mistake mistakes[] = {
      {"replay {good} --interval 45", 0, "is no multiple of the 30 s"},
      {"replay {good} --systems GER", 0, "GLONASS is not used"},
      {"replay {good} --antenna-delta 0.216 0 0", 0, "east, north, up"},
      {"replay {good} --blq {far.blq}", 0, "no site within 10 km of the station, the nearest is FAR0"},
      {"replay {good} --reference -3962108.674 3381309.575 3668678.639", 0, "km away from the solution"},
      {"replay {good} --deployment {deployment}", 0, "the deployment is made for 2026-06-01"},
      {"replay {products} --broadcast --fix", 0, "nothing to fix: no phase biases"},
  };
  for (const Mistake& mistake : mistakes) expectTold(mistake);
}

TEST(Mistakes, NoResultIsStatusOneAndASignalLeavesResults) {
  expectTold({"replay {good} --systems J --out {none}", 1,
              "of which the observations hold nothing; give --systems EG"});
  ASSERT_EQ(run(filled("replay {good} --quiet --to 2026-11-21T00:05:00 --out {run}")).status, 0);
  expectTold({"compare {none} {run}", 1, "no epoch has a position in both runs"});
  for (const char* file : {"exit.txt", "account.csv", "signals.txt", "summary.json"})  // of a killed run
    std::filesystem::remove(inputs().path("run/") + file);
  ASSERT_EQ(run(filled("report {run}")).status, 0);
  EXPECT_THAT(support::readFile(inputs().path("run/report.html")), HasSubstr("The run did not finish"));
  const std::string late = support::readFile(inputs().path("sky/corrections.ssr"));
  std::string text = late;
  for (auto at = text.find("2026 11 21"); at != std::string::npos; at = text.find("2026 11 21", at))
    text.replace(at, 10, "2026 11 25");
  support::writeFile(inputs().path("late.ssr"), text);
  expectTold({"replay {products} --ssr {late.ssr}", 1, "no correction is of the time of the observations"});

  const TemporaryDirectory out;
  const std::string sky = (out.path() / "sky").string(), result = (out.path() / "run").string();
  ASSERT_EQ(run("simulate " + sky + " --hours 2 --interval 1 --systems GE --quiet").status, 0);
  const ChildResult r = support::runInChild([&] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    const std::string replay = support::kProgram + " replay --obs " + sky + "/observations.rnx --nav " + sky +
                               "/navigation.rnx --ssr " + sky +
                               "/corrections.ssr --interval 1 --quiet --out " + result;
    const std::string script = replay + " & run=$!; while [ ! -s " + result +
                               "/engine.log ]; do sleep 0.05; done; sleep 1; kill -TERM $run; wait $run";
    execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
  });
  EXPECT_EQ(r.status, 128 + SIGTERM) << r.output;
  EXPECT_THAT(r.output, HasSubstr("interrupted at 2026-11-21"));
  EXPECT_THAT(support::readFile(result + "/exit.txt"), HasSubstr("exit status 143: interrupted"));
  EXPECT_FALSE(readSolutionCsv(result + "/solution.csv").empty());
}

/// Products of a real day.
TEST(Mistakes, WithProductsAreTold) {
  GNX_REQUIRE_DATA("esbc_2020177");
  const std::string day = support::realFile("esbc_2020177/");
  const std::string good = "replay --obs " + day + "ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz --nav " + day +
                           "ESBC00DNK_R_20201770000_01D_MN.rnx.gz --sp3 " + day +
                           "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz --clk " + day +
                           "GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz --from 2020-06-25T01:00:00 --to "
                           "2020-06-25T01:10:00 --antex " +
                           support::realFile("antex/igs14_2134.atx.gz");
  const Mistake mistakes[] = {
      {" --antenna 'leiar25.r4 leit'", 0, "the nearest name that is known is 'LEIAR25.R4      LEIT'"},
      {" --systems GEC", 0, "no BeiDou in the orbits"},
      {" --fix", 0, "nothing to fix: no phase biases"},
      {" --refpoint APC_ITRF", 0, "refer to the satellites' centres of mass"},
  };
  for (const auto& [options, status, text] : mistakes) expectTold({(good + options).c_str(), status, text});
  const std::string sparse =
      std::string(good).erase(good.find(" --clk"), good.find(" --from") - good.find(" --clk"));
  expectTold({sparse.c_str(), 0, "give clocks of 30 s with --clk"});
}

// A run day and night tells in its log what a replay tells at its end.
TEST(Mistakes, OfLiveRunsAreRefusedOrTold) {
  inputs();
  support::writeFile(inputs().path("live.json"),
                     R"({"obs": "tcp://a:1", "deployment": "site", "fix": true})");
  support::writeFile(inputs().path("misspelt.json"), R"({"obs": "tcp://a:1", "sistems": "GE"})");
  const Mistake mistakes[] = {
      {"live --obs file://{sky/stream.rtcm3}?speed=0 --systems GE --refpoint CoM_ITRF", 0,
       "corrections of obs: the corrected orbits lie"},
      {"live --config {live.json}", 2, "--fix has no effect with --deployment"},
      {"live --config {misspelt.json}", 2, "'sistems' is no option of 'gnx live' (did you mean systems?)"},
      {"live --obs file://{sky/stream.rtcm3}?speed=0 --systems J", 1, "the sources ended without a position"},
      {"live --obs file://{sky/observations.rnx}", 2, "is a RINEX file of observations and no stream"},
      {"live --play {sky}", 2, "holds no recording"},
      {"live --play {sky} --eph tcp://a:1", 2, "--eph has no effect with --play"},
      {"live --obs tcp://a:1 --speed 10", 2, "--speed has no effect without --play or --start"},
  };
  for (const Mistake& mistake : mistakes) expectTold(mistake);

  const TemporaryDirectory out;
  const ChildResult r =
      run(filled("live --obs file://{sky/stream.rtcm3}?speed=0 --mode dynamic --deployment ") +
          inputs().path("deployment") + " --out " + out.path().string());
  EXPECT_EQ(r.output.find("missing for"), std::string::npos) << r.output;
  EXPECT_THAT(support::readFile(out.path() / "solution.pos"), HasSubstr("mode      : dynamic"))
      << "a choice of the command line goes before the deployment's";
}

// The radial corrections show the centre, the codes of an hour show the sign.
TEST(Mistakes, OfSignAndCentreInAStreamAreFoundInTheData) {
  GNX_REQUIRE_DATA("esbc_2020177");
  const std::string day = support::realFile("esbc_2020177/");
  const TemporaryDirectory directory;
  std::ofstream reversed(directory.path() / "reversed.ssr");
  TextReader in(day + "corrections_grg.ssr.gz");
  bool clock = false;
  std::vector<std::string_view> words;
  for (std::string_view line; in.next(line);) {
    if (line.starts_with('>')) clock = line.starts_with("> CLOCK");
    split(line, words);
    if (line.starts_with("> CLOCK 2020 06 25 02")) break;
    if (!clock || line.starts_with('>')) reversed << line << '\n';
    else reversed << words[0] << ' ' << words[1] << ' ' << -*parseReal(words[2]) << " 0 0\n";
  }
  reversed.close();
  const std::string good = "replay --systems GE --obs " + day +
                           "ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz --nav " + day +
                           "ESBC00DNK_R_20201770000_01D_MN.rnx.gz --to 2020-06-25T01:00:00 --antex " +
                           support::realFile("antex/igs14_2134.atx.gz") + " --ssr ";
  const std::string right = good + day + "corrections_grg.ssr.gz";
  expectTold(
      {right.c_str(), 0, "they are orbits of the centres of mass, but are taken as those of the antennas"});
  const std::string wrong = good + (directory.path() / "reversed.ssr").string() + " --refpoint CoM_ITRF";
  expectTold({wrong.c_str(), 0, "the clock corrections make the residuals of the codes larger"});
  const TemporaryDirectory out;
  const ChildResult quiet = run(right + " --refpoint CoM_ITRF --quiet --out " + out.path().string());
  EXPECT_EQ(quiet.output.find("corrections make"), std::string::npos) << quiet.output;
  EXPECT_EQ(quiet.output.find("antennas' heights"), std::string::npos) << quiet.output;
}

}  // namespace
}  // namespace gnx::test
