// What a run says of itself while it goes on, also when nobody told it its end.

#include "commands/run_console.h"
#include "run/observation_end.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

TEST(Progress, TellsWhatIsKnown) {
  RunProgress r{toGpsTime({2020, 6, 25, 6, 0, 0.0}), 720, 0.25, 0.0123, true};
  const std::string line = progressLine(r, 10.0);
  EXPECT_THAT(line, StartsWith("2020-06-25 06:00:00"));
  EXPECT_THAT(line, EndsWith("  72 epochs/s  25 %  30 s left  fixed 1.2 cm"));
  r.share = r.sigma_m = 0.0;
  EXPECT_THAT(progressLine(r, 10.0), EndsWith("  72 epochs/s"));
  r.share = 0.01;
  EXPECT_THAT(progressLine(r, 60.0), HasSubstr("  99 min left"));
}

TEST(Progress, TheEndOfObservationsIsToldByTheirNamesOrTheirTail) {
  const GpsTime first = toGpsTime({2020, 6, 25, 7, 10, 0.0});
  const auto end = [&](const std::string& file) {
    const auto time = observationEnd(file, first);
    return time ? formatTime(*time) : "";
  };
  EXPECT_EQ(end("ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz"), "2020-06-26 00:00:00");
  EXPECT_EQ(end("JFNG00CHN_R_20201770700_01H_30S_MO.crx"), "2020-06-25 08:00:00");
  EXPECT_EQ(end("/data/esbc1770.20d.Z"), "2020-06-26 00:00:00");
  EXPECT_EQ(end("/data/esbc177h.20o"), "2020-06-25 08:00:00");
  EXPECT_EQ(end("absent.rnx"), "");
  const TempDir dir;
  const std::string text =
      "header\n> 2020 06 25 07 10  0.0000000  0  1\nG01\n> 2020 06 25 09 30 30.0000000  0  1\nG01\n";
  EXPECT_EQ(end(dir.write("observations.rnx", text)), "2020-06-25 09:30:30");
  EXPECT_EQ(end(dir.write("packed.rnx", packed(text))), "");
}

}  // namespace
}  // namespace gnx::test
