// What a listener of results hears, against the texts of the same run: diagnostics, account, solution lines.

#include <gmock/gmock.h>

#include <map>
#include <sstream>

#include "GNX_SDK_ext.h"
#include "support/faulty_run.h"

namespace gnx::test {
namespace {

using namespace testing;
using Lines = std::vector<std::string>;

constexpr const char* kTexts =
    "-outres -oution -outztd -outclk -outfix -outint -outambstat -outaccount -gensig";
constexpr const char* kLevelTags[] = {"ewl", "wl", "n1"};

std::string slotName(const char* band) { return *band ? band : "-"; }

/// Prints a record in the form of the diagnostics, as far as both hold the same.
void printSatellite(const GNX_EXT::SatelliteResult& s, double secondsOfDay) {
  const auto row = [&](const GNX_EXT::BandResult& b, const char* kind, const GNX_EXT::ValueResult& v) {
    if (v.sigma_m == 0.0) return;
    std::printf("RES %s %s %s %.2f %.2f %.4f %.4f %.4f\n", s.name, b.band, kind, s.elevation_deg,
                s.azimuth_deg, v.floatResidual_m, v.residual_m, 1.0 / v.sigma_m);
  };
  for (int k = 0; k < s.bands; ++k) {
    const GNX_EXT::BandResult& b = s.band[k];
    row(b, "code", b.code);
    row(b, "phase", b.phase);
    if (b.hasAmbiguity)
      std::printf("AMB %s %s %.6f %.4f %d\n", s.name, b.band, b.wavelength_m, b.ambiguity, b.arcStart);
  }
  if (s.hasIonosphere)
    std::printf("ION %.3f %s %.4f %.4f\n", secondsOfDay, s.name, s.ionosphere_m, s.ionosphereSigma_m);
}

void printRecord(const GNX_EXT::Result& r) {
  std::printf("RECORD %lld state=%d reason=%d age=%.0f,%.0f,%.0f why=%s\n",
              static_cast<long long>(r.time.time), r.state, static_cast<int>(r.reason), r.ages.orbitClock_s,
              r.ages.phaseBias_s, r.ages.codeBias_s, r.why.c_str());
  std::printf("POS %.4f %.4f %.4f %.2f\n", r.position[0], r.position[1], r.position[2], r.dop.p);
  std::printf("DOP %.9f %.9f\n", r.dop.p * r.dop.p, r.dop.h * r.dop.h + r.dop.v * r.dop.v);
  std::printf("LINE %s", GNX_EXT::positionLine().c_str());
  std::printf("\nGGA %s\n", GNX_EXT::ggaSentence().c_str());
  for (const GNX_EXT::SatelliteResult& s : r.satellites)
    printSatellite(s, static_cast<double>(r.time.time % 86400) + r.time.sec);
  for (const GNX_EXT::ClockResult& c : r.clocks)
    std::printf("CLK %c %s %.4f\n", c.system, c.isOffset ? "offset" : "clock", c.value_m);
  const GNX_EXT::ZenithDelay& z = r.zenith;
  if (r.state > 0)
    std::printf("ZTD %.4f %.4f %.4f\n", z.aprioriHydrostatic_m, z.aprioriWet_m, z.correction_m);
  for (std::size_t k = 0; k < r.levels.size() && r.state > 0; ++k)
    std::printf("FIX %s %d %.3f\n", kLevelTags[k], r.levels[k].fixed, r.levels[k].ratio);
  for (const GNX_EXT::IntegerResult& i : r.integers)
    std::printf("INT %s %s %s %s%s %.4f %s\n", i.satellite, i.reference,
                kLevelTags[static_cast<int>(i.level)], slotName(i.bands[0]).c_str(),
                *i.bands[1] ? (std::string("-") + i.bands[1]).c_str() : "", i.value,
                i.fixed ? std::to_string(i.integer).c_str() : "-");
  for (const GNX_EXT::AccountResult& a : r.account) {
    std::printf("ACCOUNT %c in=%d", a.system, a.values);
    for (std::size_t f = 0; f < GNX_EXT::kFates; ++f)
      if (a.count[f] > 0) std::printf(" %s=%d", GNX_EXT::fateName(static_cast<GNX_EXT::Fate>(f)), a.count[f]);
    std::printf("\n");
  }
}

/// Every record is printed, in the process of the run.
struct Listener {
  int number = GNX_EXT::addResultListener(printRecord);
  ~Listener() { GNX_EXT::removeListener(number); }
};

/// Lines of a kind, the places given, sorted.
Lines lines(const Lines& all, const std::string& tag, const std::vector<std::size_t>& places) {
  Lines found;
  for (const std::string& line : all) {
    if (!line.starts_with(tag + " ")) continue;
    std::istringstream in(line);
    const std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
    std::string kept;
    for (const std::size_t place : places) kept += words.at(place) + " ";
    found.push_back(kept);
  }
  std::ranges::sort(found);
  return found;
}

std::vector<std::size_t> range(std::size_t from, std::size_t to) {
  std::vector<std::size_t> places;
  for (std::size_t i = from; i <= to; ++i) places.push_back(i);
  return places;
}

/// Sums of "name=n" words over the lines of a system.
std::map<std::string, long> sums(const Lines& all, const std::string& head, bool lastLineAlone) {
  std::map<std::string, long> sum;
  for (const std::string& line : all) {
    if (line.find(head) == std::string::npos) continue;
    if (lastLineAlone) sum.clear();
    std::istringstream in(line);
    for (std::string word; in >> word;)
      if (const std::size_t equals = word.find('='); equals != std::string::npos)
        sum[word.substr(0, equals)] += std::stol(word.substr(equals + 1));
  }
  return sum;
}

/// Lines of time, satellite, delay, sigma.
void expectSigmas(const Lines& texts, const Lines& records) {
  std::map<std::string, double> expected;
  const auto split = [](const std::string& line) { return line.rfind(' ', line.size() - 2); };
  for (const std::string& line : texts)
    expected[line.substr(0, split(line))] = std::stod(line.substr(split(line)));
  for (const std::string& line : records) {
    const double sigma = std::stod(line.substr(split(line)));
    EXPECT_NEAR(sigma, expected[line.substr(0, split(line))], 1e-3 * sigma + 1e-4) << line;
  }
}

Faults withTexts() {
  return {.observations =
              [](ObsEpoch& epoch, double t) {
                if (t == 2400.0) epoch.sats.clear();
                return t < 3600.0;
              },
          .corrections = [](CorrectionBatch&, double t) { return t < 1800.0 || t > 1860.0; },
          .before =
              [](double t) {
                if (t == 0.0 && !GNX_EXT::setOutputOptions(kTexts).empty())
                  throw std::runtime_error("options are refused");
              }};
}

TEST(Results, HoldWhatTheTextsOfTheEpochSay) {
  const Listener listener;
  for (const bool integers : {true, false}) {
    SCOPED_TRACE(integers ? "integers" : "float");
    const FaultyRun run(twoHourSky(), withTexts(), {.mode = "kinematic", .resolution = integers});
    const Lines texts = support::linesOf(run.file("diagnostics.log"));
    const std::size_t head = 4;  // tag mjd sod station
    const auto expectSame = [&](const char* tag, const std::vector<std::size_t>& ofText, std::size_t last) {
      const Lines expected = lines(texts, tag, ofText);
      EXPECT_GT(expected.size(), 100U) << tag;
      EXPECT_EQ(lines(run.output, tag, range(1, last)), expected) << tag;
    };
    // The texts go on with what an unobserved satellite, or an epoch without observations, left behind.
    const auto expectPart = [&](const char* tag, const std::vector<std::size_t>& ofText, std::size_t last) {
      const Lines all = lines(texts, tag, ofText), part = lines(run.output, tag, range(1, last));
      EXPECT_GT(part.size(), all.size() * 9 / 10) << tag;
      EXPECT_TRUE(std::ranges::includes(all, part)) << tag;
    };
    expectSame("RES", range(head, head + 7), 8);
    if (integers) expectSame("INT", range(head, head + 5), 6);
    expectPart("CLK", range(head, head + 2), 3);
    expectPart("AMB", {head, head + 1, head + 3, head + 5, head + 8}, 5);
    expectPart("ZTD", range(head, head + 2), 3);
    expectPart("FIX", range(head, head + 2), 3);
    // The sigmas of the texts come from the inverse of the normal matrix of the float solution.
    expectPart("ION", {2, head, head + 3}, 3);
    if (!integers)
      expectSigmas(lines(texts, "ION", {2, head, head + 3, head + 4}), lines(run.output, "ION", range(1, 4)));
    for (const std::string system : {"G", "E", "C"})
      EXPECT_EQ(sums(run.output, "ACCOUNT " + system + " ", false),
                sums(texts, " STAN " + system + " in=", true));
  }
}

TEST(Results, TellReasonsAgesAndPositions) {
  const Listener listener;
  const FaultyRun run(twoHourSky(), withTexts(), {.mode = "kinematic"});
  std::map<double, std::string> records;  // by seconds of the run
  const Lines heads = lines(run.output, "RECORD", {1});
  Lines lineOf, gga;
  for (const std::string& line : run.output) {
    if (line.starts_with("RECORD "))
      records[static_cast<double>(std::stoll(line.substr(7)) - std::stoll(heads.front()))] = line;
    if (line.starts_with("LINE ")) lineOf.push_back(line.substr(5));
    if (line.starts_with("GGA ")) gga.push_back(line.substr(4));
  }
  ASSERT_EQ(records.size(), 120U);
  const auto reason = [](GNX_EXT::Reason r) {
    return HasSubstr("reason=" + std::to_string(static_cast<int>(r)) + " ");
  };
  EXPECT_THAT(records.at(0.0), AllOf(HasSubstr("state=2"), reason(GNX_EXT::Reason::noCandidate)));
  EXPECT_THAT(records.at(3570.0),
              AllOf(HasSubstr("state=5"), reason(GNX_EXT::Reason::none), EndsWith("why=")));
  EXPECT_THAT(records.at(2400.0), AllOf(HasSubstr("state=0"), reason(GNX_EXT::Reason::noObservation),
                                        HasSubstr("why=no observation that can be used")));
  EXPECT_THAT(records.at(1770.0), HasSubstr("age=0,0,0")) << "corrections come with every epoch";
  EXPECT_THAT(records.at(1860.0), HasSubstr("age=90,90,90")) << "three sets are missing";

  ASSERT_EQ(lineOf.size(), records.size());
  ASSERT_EQ(gga.size(), records.size());
  const std::size_t empty = 80;
  EXPECT_EQ(lineOf[empty], "") << "no position of an earlier epoch";
  EXPECT_EQ(gga[empty], "");
  char position[64];
  const auto& xyz = run.epochs.back().xyz;
  std::snprintf(position, sizeof position, "%15.4f%15.4f%15.4f   1", xyz[0], xyz[1], xyz[2]);
  EXPECT_THAT(lineOf.back(), AllOf(StartsWith("2026/11/21 06:59:30.000"), HasSubstr(position)));
  EXPECT_THAT(gga.back(), AllOf(StartsWith("$GPGGA,065912.00,"), HasSubstr(",4,")));
  for (const std::string& dop : lines(run.output, "DOP", {1, 2})) {
    std::istringstream in(dop);
    double total = 0.0, parts = 0.0;
    in >> total >> parts;
    EXPECT_NEAR(total, parts, 1e-6) << "position is horizontal and vertical";
  }
}

TEST(Results, ChangeNothingAndWriteNothing) {
  const Faults firstHour{.observations = [](ObsEpoch&, double t) { return t < 3600.0; }};
  const FaultyRun silent(twoHourSky(), firstHour);
  const Listener listener;
  const FaultyRun heard(twoHourSky(), firstHour);
  heard.expectTheSolutionsOf(silent);
  EXPECT_EQ(heard.file("diagnostics.log"), "");
  EXPECT_EQ(heard.file("ppp_pos"), silent.file("ppp_pos"));
  EXPECT_EQ(heard.log.size(), silent.log.size());
}

}  // namespace
}  // namespace gnx::test
