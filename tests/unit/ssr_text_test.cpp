// Recorded correction streams: reading, and what is handed over when.

#include "formats/ssr_text.h"

#include "corrections/sources.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"
#include "support/host_files.h"

namespace gnx::test {
namespace {

const GpsTime kStart = toGpsTime({2021, 3, 19, 12, 0, 0.0});

std::string block(const char* kind, int second, int count, const std::string& lines, int interval = 0) {
  return printed("> %s 2021 03 19 12 %02d %04.1f %d %d TEST\n", kind, second / 60,
                 static_cast<double>(second % 60), interval, count) +
         lines;
}
std::string orbit(int second, int iod, const std::string& values = "1.0 2.0 3.0 0.0 0.0 0.0",
                  int interval = 0) {
  return block("ORBIT", second, 1, "G03 " + std::to_string(iod) + " " + values + "\n", interval);
}
std::string clock(int second, int iod, const std::string& values = "0.5 0.0 0.0", int interval = 0) {
  return block("CLOCK", second, 1, "G03 " + std::to_string(iod) + " " + values + "\n", interval);
}
std::string codeBias(int second, const std::string& value) {
  return block("CODE_BIAS", second, 1, "G03 2 1C 0.0000 2W " + value + "\n");
}
std::string phaseBias(int second, const std::string& value) {
  return block("PHASE_BIAS", second, 1, "   0   1\nG03 0.0 0.0 1 1C " + value + " 1 2 0\n");
}

struct SsrText : testing::Test {
  std::vector<CorrectionBatch> batches(const std::string& content, SsrTextOptions options = {},
                                       const EphemerisTimeline* timeline = nullptr) {
    options.files = {m_dir.write("a.ssr", content)};
    const auto source = makeSsrTextSource(options, timeline);
    std::vector<CorrectionBatch> all;
    for (CorrectionBatch b; source->next(b);) all.push_back(b);
    return all;
  }
  TempDir m_dir;
};

TEST_F(SsrText, RefusalsNameLineAndField) {
  const std::string stump = block("CLOCK", 0, 2, "G03 37 1.0 0.0 0.0\n");
  for (const auto& [content, sentence] :
       {std::pair{orbit(0, 37) + stump, "a.ssr:4: block: file ends inside a block"},
        {stump + orbit(0, 37), "a.ssr:3: block: fewer lines than the 2 announced in line 1"},
        {clock(0, 37, "1.O 0.0 0.0"), "a.ssr:2: G03 clock correction"},
        {block("CODE_BIAS", 0, 1, "G03 3 1C 0.0 2W 1.0\n"), "G03: number of biases"},
        {"> CLOCK 2021 03 19 25 00 00.0 0 1 TEST\n", "block epoch"}})
    EXPECT_THAT(inputError([&, &text = content] { batches(text); }), HasSubstr(sentence));
}

TEST_F(SsrText, OneTagForOrbitAndClock) {
  // The orbit moves to the clock's epoch by its rates; with an update interval of 60 s (6) its
  // polynomial refers to 30 s after its epoch, that of the clock (5 s, 2) to 2.5 s after its own.
  const auto all = batches(orbit(0, 7, "1.0 2.0 3.0 0.01 0.0 -0.02", 6) + clock(40, 7, "0.5 0.004 0.0", 2));
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all[0].tag - kStart, 40.0);
  ASSERT_THAT(all[0].orbitClock, SizeIs(1));
  EXPECT_NEAR(all[0].orbitClock[0].deph[0], 1.0 + 0.01 * 10.0, 1e-12);
  EXPECT_NEAR(all[0].orbitClock[0].deph[2], 3.0 - 0.02 * 10.0, 1e-12);
  EXPECT_NEAR(all[0].orbitClock[0].dclk[0], 0.5 - 0.004 * 2.5, 1e-12);
  EXPECT_NEAR(all[0].orbitClock[0].dclk[1], 0.004, 1e-12);
  SsrTextOptions plain;
  plain.halfInterval = false;
  const auto from0 = batches(orbit(0, 7, "1.0 0 0 0.01 0 0", 6) + clock(40, 7), plain);
  EXPECT_NEAR(from0[0].orbitClock[0].deph[0], 1.4, 1e-12);
}

TEST_F(SsrText, IssueOfOrbitAndClockMatch) {
  // The orbit of an epoch may stand behind its clocks, and clocks may still refer to the issue before.
  const auto all = batches(orbit(0, 7) + clock(0, 7) + clock(30, 7) + orbit(30, 8) + clock(35, 8) +
                           clock(40, 9) + clock(45, 7));
  ASSERT_THAT(all, SizeIs(4));
  EXPECT_EQ(all[1].orbitClock[0].iod, 7);
  EXPECT_EQ(all[2].orbitClock[0].iod, 8);
  EXPECT_EQ(all[3].tag - kStart, 45.0) << "a clock without an orbit of its issue makes no batch";
}

TEST_F(SsrText, OldOrbitsAndWithdrawnSatellitesAreLeftOut) {
  const std::string two = block("CLOCK", 0, 2, "G03 7 0.5 0 0\nG04 9 0.5 0 0\n");
  const std::string orbits = block("ORBIT", 0, 2, "G03 7 1 2 3 0 0 0\nG04 9 1 2 3 0 0 0\n");
  const auto all = batches(orbits + two + clock(5, 7) + clock(300, 7) + clock(301, 7));
  ASSERT_THAT(all, SizeIs(3));
  EXPECT_THAT(all[0].orbitClock, SizeIs(2));
  EXPECT_THAT(all[1].orbitClock, SizeIs(1));
}

TEST_F(SsrText, BiasesAreFullSetsWithRisingTags) {
  const auto all = batches(orbit(0, 7) + codeBias(0, "-1.5") + clock(0, 7) + codeBias(5, "-1.6") +
                           clock(5, 7) + clock(5, 7) + phaseBias(0, "0.3") + clock(5, 7) + clock(10, 7));
  ASSERT_THAT(all, SizeIs(5));
  EXPECT_TRUE(all[0].newBiases);
  EXPECT_DOUBLE_EQ(all[0].biases[0].code[1].value, -1.5);
  EXPECT_FALSE(all[2].newBiases);
  ASSERT_TRUE(all[3].newBiases);
  EXPECT_THAT(all[3].biases[0].code, SizeIs(2)) << "code biases come along with new phase biases";
  EXPECT_DOUBLE_EQ(all[3].biases[0].phase[0].value, 0.3);
  EXPECT_GT(all[3].biasTag - all[1].biasTag, 0.0);
}

TEST_F(SsrText, DeliveryFollowsTheTable) {
  const std::string content = orbit(0, 7) + clock(5, 7) + clock(10, 7);
  SsrTextOptions options;
  options.availability = m_dir.write("a.csv",
                                     "block_no,type,epoch_tow_s,receive_tow_s\n1,ORBIT,475200,475207\n"
                                     "2,CLOCK,475205,475210\n");
  options.latency_s = 1.0;
  const auto all = batches(content, options);
  EXPECT_EQ(all[0].delivery - all[0].tag, 5.0);
  EXPECT_EQ(all[1].delivery - all[1].tag, 1.0) << "block 3 is not in the table";
  options.availability = m_dir.write("b.csv", "1,ORBIT,475300,475307\n");
  EXPECT_THAT(inputError([&] { batches(content, options); }),
              HasSubstr("b.csv:1: epoch is not that of block 1"));
}

TEST_F(SsrText, MovesToTheMessageThatTheEngineHolds) {
  // Issue 8 has the time of clock of issue 7: the engine refuses it as a duplicate and holds issue 7.
  const BroadcastEph held{.sat = "G03",
                          .toc = kStart,
                          .toe = kStart,
                          .transmission = kStart + -7182.0,
                          .af = {1e-4, 1e-12, 0.0},
                          .iode = 7,
                          .deltaN = 4e-9,
                          .e = 0.01,
                          .sqrtA = 5153.65,
                          .i0 = 0.96};
  BroadcastEph refused = held;
  refused.iode = 8;
  refused.toe = kStart + -16.0;
  refused.m0 = 1e-7;
  refused.af[0] += 3e-9;
  const EphemerisTimeline timeline({{held, refused}, {}, {}}, kStart);

  const auto plain = batches(orbit(0, 8) + clock(0, 8));
  const auto moved = batches(orbit(0, 8) + clock(0, 8), {}, &timeline);
  ASSERT_EQ(plain[0].orbitClock[0].iod, 8);
  ASSERT_EQ(moved[0].orbitClock[0].iod, 7);
  const SatState want = applyCorrection(evaluateBroadcast(refused, kStart), plain[0].orbitClock[0], 0.0);
  const SatState got = applyCorrection(evaluateBroadcast(held, kStart), moved[0].orbitClock[0], 0.0);
  for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(got.position[k], want.position[k], 1e-6);
  EXPECT_NEAR(got.clock, want.clock, 1e-15);
}

}  // namespace
}  // namespace gnx::test
