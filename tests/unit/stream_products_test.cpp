// A stream turned into orbits, clocks and biases, and the files of them.

#include "products/stream_products.h"

#include <numbers>

#include "corrections/sources.h"
#include "geometry/vector3.h"
#include "gnx/read.h"
#include "gnx/write.h"
#include "support/deployment.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kStart = toGpsTime({2020, 6, 25, 2, 0, 0.0});

BroadcastEph message(const std::string& sat) {
  return {.sat = sat,
          .toc = kStart,
          .toe = kStart,
          .transmission = kStart + -3600.0,
          .af = {1.0e-4, 0.0, 0.0},
          .iode = 7,
          .m0 = 1.234,
          .e = 0.01,
          .sqrtA = 5153.65,
          .i0 = 0.965};
}

struct StreamProduct : testing::Test {
  static NavData messages() {
    NavData nav;
    nav.keplerian = {message("G05"), message("E11")};
    nav.keplerian[1].code = 258;
    return nav;
  }
  /// Radial correction of 1 m that grows by 1 cm/s, clock correction of 3 m.
  static CorrectionBatch batch(double seconds, const std::vector<SatName>& sats = {"G05", "E11"}) {
    CorrectionBatch b;
    b.tag = b.delivery = kStart + seconds;
    for (const SatName& sat : sats)
      b.orbitClock.push_back({sat, 7, {1.0, 0.0, 0.0}, {0.01, 0.0, 0.0}, {3.0, 0.0, 0.0}});
    return b;
  }
  static CorrectionBatch biases(double seconds, double phase, int counter = 0) {
    CorrectionBatch b = batch(seconds);
    b.newBiases = true;
    b.biasTag = b.tag;
    b.biases = {{"G05", {{"1C", 0.6}}, {{"1C", phase, 1, 2, counter}}}};
    return b;
  }
  StreamProducts collected(const std::vector<CorrectionBatch>& batches, const ProductPlan& plan = {}) const {
    ProductCollector collector(m_timeline, plan, nullptr);
    for (const CorrectionBatch& b : batches) collector.take(b);
    return collector.finish();
  }
  /// Writes the three files. \return their names, as a source of corrections takes them
  ProductOptions written(const StreamProducts& p, const ProductFileOptions& options) const {
    ProductOptions files;
    files.sp3 = {dir.path() / "o.sp3"};
    files.clk = {dir.path() / "c.clk"};
    files.bia = {dir.path() / "b.bia"};
    writeOrbitFile(files.sp3[0], p, options);
    writeClockFile(files.clk[0], p, options);
    writeBiasFile(files.bia[0], p, options);
    return files;
  }

  const TempDir dir;
  const EphemerisTimeline m_timeline{messages(), kStart};
};

TEST_F(StreamProduct, OrbitsStandOnTheirGridCarriedByTheRates) {
  const StreamProducts p =
      collected({batch(0.0), batch(20.0), batch(50.0), batch(200.0)}, {.orbitInterval_s = 10.0});
  const std::int64_t start = toMilliseconds(kStart);
  const auto correction = [&](double seconds) {  // radial, m
    const Vector3 at = p.orbits.at(start + std::llround(seconds * 1e3)).at("G05").position;
    const SatState broadcast = evaluateBroadcast(message("G05"), kStart + seconds);
    return toAxes(orbitAxes(broadcast), minus(broadcast.position, at))[0];
  };
  EXPECT_NEAR(correction(0.0), 1.0, 1e-6);
  EXPECT_NEAR(correction(10.0), 1.1, 1e-6);
  EXPECT_NEAR(correction(20.0), 1.0, 1e-6) << "a new batch";
  EXPECT_NEAR(correction(40.0), 1.2, 1e-6);
  EXPECT_NEAR(correction(170.0), 2.2, 1e-6) << "two minutes behind the batch";
  EXPECT_FALSE(p.orbits.contains(start + 180'000)) << "and no further";
  EXPECT_TRUE(p.orbits.contains(start + 200'000));
  EXPECT_NEAR(p.orbits.at(start).at("G05").clock, 1.0e-4 + 3.0 / kLightSpeed, 1e-15);
}

TEST_F(StreamProduct, ClocksComeWithTheStreamOrAtAnInterval) {
  const std::vector<CorrectionBatch> stream = {batch(0.0), batch(5.0), batch(10.0, {"E11"})};
  const StreamProducts all = collected(stream);
  EXPECT_THAT(all.clocks, SizeIs(3));
  EXPECT_THAT(all.clocks.rbegin()->second, SizeIs(1));
  EXPECT_NEAR(all.clocks.begin()->second.at("E11"), 1.0e-4 + 3.0 / kLightSpeed, 1e-15);
  EXPECT_THAT(collected(stream, {.clockInterval_s = 10.0}).clocks, SizeIs(2));
  EXPECT_THAT(collected(stream, {.from = kStart + 1.0, .to = kStart + 9.0}).clocks, SizeIs(1));
}

TEST_F(StreamProduct, CorrectionsWithoutTheirMessageAreCounted) {
  CorrectionBatch b = batch(0.0, {"G05", "G06", "E11"});
  b.orbitClock[0].iod = 8;
  const StreamProducts p = collected({b});
  EXPECT_EQ(p.withoutMessage, 2);
  EXPECT_THAT(p.satellites, ElementsAre("E11"));
}

TEST_F(StreamProduct, BiasesChangeSignAndHaveTheirTime) {
  CorrectionBatch without = biases(90.0, 0.2, 1);
  without.biases[0].code.clear();
  const StreamProducts p = collected({biases(0.0, 0.1), biases(30.0, 0.1), biases(60.0, 0.2, 1), without});
  ASSERT_THAT(p.biases, SizeIs(3));
  EXPECT_EQ(p.discontinuities, 1);
  const auto row = [&](const std::string& signal, double from) -> const BiasRow& {
    for (const BiasRow& r : p.biases)
      if (r.signal == signal && r.from - kStart == from) return r;
    throw std::runtime_error("no row of " + signal);
  };
  EXPECT_NEAR(row("L1C", 0.0).value, -0.1 / kLightSpeed, 1e-18);
  EXPECT_EQ(row("L1C", 0.0).until - kStart, 60.0);
  EXPECT_EQ(row("L1C", 60.0).until - kStart, 90.0 + 120.0) << "as long as the last batch serves";
  EXPECT_EQ(row("C1C", 0.0).until - kStart, 90.0) << "a set that does not name it ends it";
  EXPECT_THAT(collected({biases(0.0, 0.1), biases(30.0, 0.2)}, {.biasInterval_s = 60.0}).biases, SizeIs(2))
      << "one code, one phase";
}

TEST_F(StreamProduct, FilesAreReadBackAsTheyWere) {
  CorrectionBatch partly = biases(60.0, 0.25);
  partly.orbitClock.pop_back();
  const StreamProducts p = collected({biases(0.0, 0.1), biases(30.5, 0.1), partly}, {.biasInterval_s = 10.0});
  const ProductFileOptions options{.frame = "IGS14", .comments = {"a test"}, .made = kStart};
  const ProductOptions files = written(p, options);
  const Sp3Product orbits = readSp3(files.sp3);
  EXPECT_THAT(readFile(files.sp3[0]), HasSubstr(" ORBIT IGS14 "));
  EXPECT_EQ(orbits.interval, 30.0);
  ASSERT_THAT(orbits.orbits.at("G05"), SizeIs(3));
  EXPECT_THAT(orbits.orbits.at("E11"), SizeIs(2)) << "missing at the end";
  for (const OrbitPoint& point : orbits.orbits.at("G05"))
    EXPECT_LT(length(minus(point.position, p.orbits.at(toMilliseconds(point.time)).at("G05").position)),
              0.9e-3);
  EXPECT_NEAR(orbits.clocks.at("G05")[0].bias, 1.0e-4 + 3.0 / kLightSpeed, 0.51e-12);

  const ClockProduct clocks = readRinexClocks(files.clk);
  ASSERT_THAT(clocks.clocks.at("G05"), SizeIs(3));
  EXPECT_EQ(clocks.clocks.at("G05")[1].time - kStart, 30.5);
  EXPECT_NEAR(clocks.clocks.at("G05")[0].bias, 1.0e-4 + 3.0 / kLightSpeed, 1e-16);

  const auto rows = readSinexBias(files.bia);
  ASSERT_THAT(rows, SizeIs(3));
  EXPECT_EQ(rows[0].signal, "C1C");
  EXPECT_NEAR(rows[0].value, -0.6 / kLightSpeed, 1e-15);
  EXPECT_EQ(rows[1].until - kStart, 60.0);
  EXPECT_EQ(rows[2].from - kStart, 60.0);
  EXPECT_THAT(inputError([&] { writeClockFile(dir.path() / "none" / "c.clk", p, options); }),
              HasSubstr("cannot be written"));
}

TEST_F(StreamProduct, ChangedBiasesReachTheEngineWithoutWaitingForTheirPace) {
  std::vector<CorrectionBatch> stream;
  for (double t = 0.0; t <= 690.0; t += 30.0) stream.push_back(biases(t, t < 330.0 ? 0.1 : 0.2));
  const auto source = makeProductSource(written(collected(stream), {.made = kStart}), m_timeline);
  std::vector<double> given;
  for (CorrectionBatch b; source->next(b);)
    if (b.newBiases) given.push_back(b.tag - kStart);
  EXPECT_THAT(given, ElementsAre(0.0, 300.0, 330.0, 630.0));
}

// ---- from the antenna to the centre of mass ----

struct Antennas : testing::Test {
  static std::string satellite(const std::string& sat, const std::string& frequencies) {
    return support::antexBlock("BLOCK IIF", sat, frequencies);
  }
  const TempDir dir;
  const std::vector<AntexBlock> blocks = readAntex(
      dir.write("a.atx", support::antexHeader() +
                             satellite("G05", support::antexFrequency("G01", 100.0, 0.0, 1000.0) +
                                                  support::antexFrequency("G02", 100.0, 0.0, 1000.0)) +
                             satellite("G06", support::antexFrequency("G01", 0.0, 0.0, 1000.0) +
                                                  support::antexFrequency("G02", 0.0, 0.0, 1100.0)) +
                             satellite("G07", support::antexFrequency("G01", 0.0, 0.0, 1000.0)) +
                             satellite("C03", support::antexFrequency("C02", 500.0, 0.0, 1000.0) +
                                                  support::antexFrequency("C06", 500.0, 0.0, 1000.0))));
  const MassCentre antennas{blocks, kStart};
  const Vector3 position{2.0e7, 1.0e7, 1.4e7};
};

TEST_F(Antennas, LieTowardsTheEarthAndTheSun) {
  const Vector3 offset = *antennas.offset("G05", position, kStart);
  EXPECT_NEAR(length(offset), std::hypot(1.0, 0.1), 1e-12);
  EXPECT_NEAR(dot(offset, unit(position)), -1.0, 1e-12) << "below the centre of mass";
  // At 02:00 GPS time the Sun of a June night stands over longitude 150 degrees and latitude 23.4 degrees.
  const double lon = 150.6 * std::numbers::pi / 180.0, lat = 23.4 * std::numbers::pi / 180.0;
  const Vector3 sun{std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
  const Vector3 z = unit(scaled(position, -1.0)), x = unit(minus(sun, scaled(z, dot(sun, z))));
  EXPECT_NEAR(dot(offset, x), 0.1, 1e-4);
}

TEST_F(Antennas, AreThoseOfTheIonosphereFreePair) {
  const double g1 = 1575.42 * 1575.42, g2 = 1227.60 * 1227.60;
  EXPECT_NEAR(length(*antennas.offset("G06", position, kStart)), (g1 * 1.0 - g2 * 1.1) / (g1 - g2), 1e-9);
  EXPECT_FALSE(antennas.offset("G07", position, kStart)) << "one frequency";
  EXPECT_FALSE(antennas.offset("G08", position, kStart)) << "no block";
}

TEST_F(Antennas, OfGeostationarySatellitesLookAhead) {
  const Vector3 above{4.2164e7, 0.0, 0.0};
  const Vector3 offset = *antennas.offset("C03", above, kStart);
  EXPECT_NEAR(offset[0], -1.0, 1e-12);
  EXPECT_NEAR(offset[1], 0.5, 1e-12) << "x along the velocity";
}

}  // namespace
}  // namespace gnx::test
