// Station coordinates of SINEX files.

#include "gnx/read.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

std::string estimate(const char* type, const char* station, int solution, double value) {
  return printed("     1 %-6s %-4s  A %4d 15:001:00000 m    2 %21.14e 1.00000e-03\n", type, station, solution,
                 value);
}

/// Two sets about an earthquake on 2018-07-20; the second has velocities.
std::string file(const std::string& end = "%ENDSNX\n") {
  std::string text =
      "%=SNX 2.02 TST 20:332:69442 TST 20:312:75600 20:320:43200 C  1685 2 S E\n+SOLUTION/EPOCHS\n"
      "*CODE PT SOLN T _DATA_START_ __DATA_END__ _MEAN_EPOCH_\n"
      " SITE  A    1 P 10:001:00000 18:201:00000 15:001:00000\n"
      " SITE  A    2 P 18:201:00000 00:000:00000 15:001:00000\n-SOLUTION/EPOCHS\n+SOLUTION/ESTIMATE\n";
  for (const int solution : {1, 2})
    for (const char* axis : {"X", "Y", "Z"})
      text += estimate((std::string("STA") + axis).c_str(), "SITE", solution, 1e6 * solution + *axis);
  return text + estimate("STAX", "ELSE", 1, 5.0) + estimate("VELY", "SITE", 2, 0.02) +
         "-SOLUTION/ESTIMATE\n" + end;
}

TEST(SinexStations, SetOfTheTimeIsMovedByItsVelocity) {
  const TempDir dir;
  const std::string path = dir.write("week.snx", file());
  const GpsTime epoch = toGpsTime({2015, 1, 1, 0, 0, 0.0});
  const GpsTime later = epoch + 5.0 * 365.25 * 86400.0;
  const Vector3 marker = readSinexStation(path, "site00XXX", later).at(later);
  EXPECT_DOUBLE_EQ(marker[0], 2e6 + 'X');
  EXPECT_DOUBLE_EQ(marker[1], 2e6 + 'Y' + 0.1);
  EXPECT_DOUBLE_EQ(readSinexStation(path, "SITE", epoch).at(epoch)[2], 1e6 + 'Z');
}

TEST(SinexStations, RefusalsTellWhatIsMissing) {
  const TempDir dir;
  const auto refusal = [&](const std::string& content, const std::string& station, int year) {
    const std::string path = dir.write("week.snx", content);
    return inputError([&] { readSinexStation(path, station, toGpsTime({year, 6, 1, 0, 0, 0.0})); });
  };
  EXPECT_THAT(refusal(file(), "NONE", 2015), HasSubstr("holds no coordinates of station NONE; check"));
  EXPECT_THAT(refusal(file(), "ELSE", 2015), HasSubstr("no coordinates of station ELSE"))
      << "one axis of three";
  EXPECT_THAT(refusal(file(), "SITE", 2017),
              HasSubstr("are of 2015-01-01, more than a year from the observations"));
  EXPECT_THAT(refusal(file(""), "SITE", 2015), HasSubstr("ends without %ENDSNX; it is truncated"));
  EXPECT_THAT(refusal("dear diary\n", "SITE", 2015), HasSubstr("is not a SINEX file"));
}

}  // namespace
}  // namespace gnx::test
