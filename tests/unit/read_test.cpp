// Files recognised by content, errors in parts, and the merged stream of a run.

#include "gnx/read.h"

#include "simulate/simulation.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

TEST(FileKinds, AreToldByContent) {
  const TempDir dir;
  const std::pair<std::string, FileKind> cases[] = {
      {headerLine("     3.05           OBSERVATION DATA    M", "RINEX VERSION / TYPE"),
       FileKind::observations},
      {headerLine("     3.04           N: GNSS NAV DATA    M", "RINEX VERSION / TYPE"), FileKind::navigation},
      {headerLine("3.0                 COMPACT RINEX FORMAT", "CRINEX VERS   / TYPE"),
       FileKind::observations},
      {headerLine("     2.11           G: GLONASS NAV DATA", "RINEX VERSION / TYPE"), FileKind::navigation},
      {headerLine("     3.00           C                   G", "RINEX VERSION / TYPE"), FileKind::clocks},
      {headerLine("     1.4            M", "ANTEX VERSION / SYST"), FileKind::antennas},
      {"#dP2020  6 25  0  0  0.00000000      96 ORBIT IGS14 FIT GRG\n", FileKind::orbits},
      {"%=BIA 1.00 GRG 2020:180:00000\n", FileKind::biases},
      {"> ORBIT 2021 03 19 12 00 00.0 5 18 CLAS\n", FileKind::corrections},
      {"%=ORBEX  0.09\n%%\n", FileKind::attitudes},
      {headerLine("     1.0            IONOSPHERE MAPS     GPS", "IONEX VERSION / TYPE"),
       FileKind::ionosphere},
      {"VERSION 2\n", FileKind::earthRotation},
      {"of the week 1982\n\n  MJD   Xpole  Ypole  UT1-UTC  LOD\n", FileKind::earthRotation},
      {"20 625 59025.00 I  0.141032 0.000091  0.433120 0.000090  I-0.2305871 0.0000100\n",
       FileKind::earthRotation},
      {"dear diary,\n", FileKind::unknown},
      {"", FileKind::unknown},
  };
  for (const auto& [content, kind] : cases) {
    EXPECT_EQ(kindOf(dir.write("file", content)), kind) << content;
    EXPECT_EQ(kindOf(dir.write("file.gz", packed(content))), kind) << "packed " << content;
  }
  const std::string diary = dir.write("diary.txt", "dear diary,\n");
  EXPECT_THAT(inputError([&] { sortByKind({diary}); }), HasSubstr("diary.txt: holds nothing known"));
}

TEST(Errors, ComeInParts) {
  const TempDir dir;
  const std::string file = dir.write("damaged.ssr", "> CLOCK 2021 03 19 25 00 00.0 0 1 TEST\n");
  try {
    CorrectionReader reader(file);
    SsrBlock block;
    reader.next(block);
    ADD_FAILURE() << "an hour 25";
  } catch (const Error& e) {
    EXPECT_EQ(e.file(), file);
    EXPECT_EQ(e.line(), 1);
    EXPECT_EQ(e.field(), "block epoch");
    EXPECT_FALSE(e.cause().empty());
    EXPECT_THAT(e.what(), StartsWith(file + ":1: block epoch: " + e.cause()));
  }
  const UsageError split("no navigation file; give one with --nav");
  EXPECT_EQ(split.cause(), "no navigation file");
  EXPECT_EQ(split.remedy(), "give one with --nav");
}

TEST(EventStreams, ComeInOrderOfTime) {
  const TempDir dir;
  SimulationOptions o;
  o.sky.start = toGpsTime({2026, 11, 21, 6, 0, 0.0});
  o.sky.hours = 0.1;
  o.observer.site = {4075580.0, 931854.0, 4801568.0};
  const SimulationFiles files = simulate(o, dir.path());
  const GpsTime from = o.sky.start + 60.0;
  EventStream stream = read(
      {files.corrections.string(), files.navigation.string(), files.observations.string()}, {.from = from});
  ASSERT_EQ(stream.start().first, from);
  EXPECT_TRUE(stream.start().corrected.contains('G'));
  EXPECT_TRUE(stream.start().header.types.contains('E'));
  std::map<std::size_t, int> count;
  std::optional<Event> before;
  for (const Event& event : stream) {
    EXPECT_EQ(std::holds_alternative<StreamStart>(event.record), !before);
    EXPECT_TRUE(count.size() <= 1 || before->time <= event.time);
    ++count[event.record.index()];
    before = event;
  }
  EXPECT_EQ(count[4], 10) << "epochs of six minutes less the first one";
  EXPECT_GT(count[1], 10) << "messages";
  EXPECT_GE(count[3], 10) << "corrections";
  EXPECT_THROW(read({files.observations.string()}), UsageError);
}

}  // namespace
}  // namespace gnx::test
