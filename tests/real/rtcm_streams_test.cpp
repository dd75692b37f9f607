// Recorded streams against what other decoders made of them.

#include "support/rtcm_streams.h"

#include <cmath>
#include <set>

#include "gnx/read.h"

namespace gnx {
namespace {

using support::realFile;
using support::RtcmListener;

void play(RtcmListener& listener, const std::string& file) {
  const auto bytes = support::bytesOf(support::readFile(realFile(file)));
  ASSERT_FALSE(bytes.empty());
  for (std::size_t at = 0; at < bytes.size(); at += 1000)
    listener.decoder.feed(std::span(bytes).subspan(at, std::min<std::size_t>(1000, bytes.size() - at)));
  listener.decoder.flush();
}

/// Numbers that a text file of 12 digits holds.
void expectSameElements(const BroadcastEph& a, const BroadcastEph& b) {
  const auto elements = [](const BroadcastEph& e) {
    return std::array{e.af[0], e.af[1], e.af[2],    e.crs,  e.deltaN, e.m0,  e.cuc,
                      e.e,     e.cus,   e.sqrtA,    e.cic,  e.omega0, e.cis, e.i0,
                      e.crc,   e.omega, e.omegaDot, e.idot, e.tgd[0]};
  };
  const auto first = elements(a), second = elements(b);
  for (std::size_t i = 0; i < first.size(); ++i)
    EXPECT_NEAR(first[i], second[i], 1e-11 * std::fabs(second[i]) + 1e-30) << a.sat << " element " << i;
  EXPECT_EQ(a.health, b.health) << a.sat;
}

/// How many messages of a navigation file are in the stream, with the same content.
std::size_t messagesIn(const RtcmListener& listener, const std::string& nav, double sameWeeks_s) {
  const NavData file = readRinexNav({realFile(nav)});
  const auto messages = listener.all<BroadcastEph>();
  std::size_t found = 0;
  for (const BroadcastEph& there : file.keplerian) {
    for (const BroadcastEph& here : messages) {
      const double apart = std::fabs(here.toe - there.toe);
      if (here.sat != there.sat || here.iode != there.iode || apart > sameWeeks_s) continue;
      if (std::fabs(std::remainder(apart, 604800.0)) > 0.0) continue;
      if (here.sat[0] == 'E' && ((here.code ^ there.code) & 2) != 0) continue;  // F/NAV has another clock
      expectSameElements(here, there);
      ++found;
      break;
    }
  }
  return found;
}

TEST(RtcmStreams, GalileoHighAccuracyOverTheInternet) {
  GNX_REQUIRE_DATA("rtcm3/idd_2023229c.rtcm3.gz");
  RtcmListener listener(fromWeek(2275, 353000.0));
  play(listener, "rtcm3/idd_2023229c.rtcm3.gz");
  const RtcmCounts& counts = listener.decoder.counts();
  EXPECT_EQ(counts.skipped, 0);
  EXPECT_EQ(counts.dropped(RtcmDrop::withoutOrbit), 0);
  EXPECT_GT(messagesIn(listener, "rtcm3/OBE4_2023229c.nav.gz", 0.0), 15U);  // a receiver there
  // Orbits and clocks of a combined message name messages of this stream.
  std::set<std::pair<SatName, int>> issues;
  for (const BroadcastEph& eph : listener.all<BroadcastEph>()) issues.emplace(eph.sat, eph.iode);
  long named = 0, all = 0;
  for (const RtcmSsr& ssr : listener.all<RtcmSsr>()) {
    for (const SsrOrbit& orbit : ssr.block.orbits) {
      ++all;
      named += issues.contains({orbit.sat, orbit.iod}) ? 1 : 0;
    }
  }
  EXPECT_GT(all, 10000);
  EXPECT_GT(static_cast<double>(named), 0.97 * static_cast<double>(all));
}

TEST(RtcmStreams, RomeCorrectionsAndMessages) {
  GNX_REQUIRE_DATA("rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  RtcmListener listener;  // the stream's own messages tell the date
  play(listener, "rome_2026037_ssr/ssr_provider260_2026037.rtcm3.gz");
  EXPECT_LT(listener.decoder.counts().skipped, listener.decoder.counts().bytes / 1000);  // frames cut by gaps
  EXPECT_EQ(listener.decoder.counts().dropped(RtcmDrop::tooShort), 0);
  // That file has the Galileo messages in the year 2045.
  const std::string nav = "rome_2026037_ssr/nav_from_stream.26P";
  EXPECT_EQ(messagesIn(listener, nav, 1e9), readRinexNav({realFile(nav)}).keplerian.size());
  for (const BroadcastEph& eph : listener.all<BroadcastEph>())
    ASSERT_LT(std::fabs(eph.toe - fromWeek(2404, 505000.0)), 4.0 * 3600.0) << eph.sat;
  std::map<SsrKind, int> blocks;
  for (const RtcmSsr& ssr : listener.all<RtcmSsr>()) ++blocks[ssr.block.kind];
  EXPECT_GT(blocks[SsrKind::orbit], 3 * 2500);
  EXPECT_GT(blocks[SsrKind::clock], 3 * 2500);
  EXPECT_GT(blocks[SsrKind::phaseBias], 2 * 2500);
}

TEST(RtcmStreams, RomeObservationsAreWholeEpochs) {
  GNX_REQUIRE_DATA("rtcm3/roma_2026037_msm5.rtcm3.gz");
  RtcmListener listener(fromWeek(2404, 500000.0));
  play(listener, "rtcm3/roma_2026037_msm5.rtcm3.gz");
  const auto epochs = listener.all<RtcmEpoch>();
  EXPECT_EQ(epochs.size(), 2700U);
  EXPECT_EQ(epochs.front().epoch.time, fromWeek(2404, 504044.0));
  for (std::size_t i = 1; i < epochs.size(); ++i) EXPECT_GT(epochs[i].epoch.time, epochs[i - 1].epoch.time);
  // Phases without a mark run on: third differences of a static receiver's geometry-free phases are small.
  std::map<std::string, double> last;
  long steps = 0, jumps = 0;
  GpsTime before;
  for (const RtcmEpoch& record : epochs) {
    const bool next = record.epoch.time - before < 1.5;
    before = record.epoch.time;
    for (const SatObs& sat : record.epoch.sats) {
      const SignalObs* l1 = support::signalIn(record.epoch, sat.sat, "1C");
      const SignalObs* l5 = support::signalIn(record.epoch, sat.sat, "5Q");
      if (sat.sat[0] != 'E' || l1 == nullptr || l5 == nullptr || l1->phase == 0.0 || l5->phase == 0.0) {
        last.erase(sat.sat);
        continue;
      }
      const double free = l1->phase * kLightSpeed / 1575.42e6 - l5->phase * kLightSpeed / 1176.45e6;
      if (next && last.contains(sat.sat) && l1->lli == 0 && l5->lli == 0) {
        ++steps;
        jumps += std::fabs(free - last[sat.sat]) > 0.1 ? 1 : 0;
      }
      last[sat.sat] = free;
    }
  }
  EXPECT_GT(steps, 15000);
  EXPECT_LE(jumps, steps / 1000);
}

/// Receivers that count the week's beginning wrong, and days of the week beyond Saturday.
TEST(RtcmStreams, WeekRolloverOfTwoReceivers) {
  GNX_REQUIRE_DATA("streams/week-rollover-STR17.rtcm3.gz");
  for (const char* name : {"streams/week-rollover-STR17.rtcm3.gz", "streams/week-rollover-STR24.rtcm3.gz"}) {
    RtcmListener listener(fromWeek(2009, 604000.0));
    play(listener, name);
    const auto epochs = listener.all<RtcmEpoch>();
    ASSERT_GT(epochs.size(), 1100U);
    long steps = 0;
    for (std::size_t i = 1; i < epochs.size(); ++i) {
      const double step = epochs[i].epoch.time - epochs[i - 1].epoch.time;
      EXPECT_GT(step, 0.0);
      EXPECT_LT(step, 5.0) << epochs[i].epoch.time;
      std::set<char> systems;
      for (const SatObs& sat : epochs[i].epoch.sats) systems.insert(sat.sat[0]);
      steps += systems.size() >= 4 ? 1 : 0;
    }
    EXPECT_GT(static_cast<double>(steps), 0.98 * static_cast<double>(epochs.size())) << name;
    EXPECT_GT(epochs.back().epoch.time, fromWeek(2010, 0.0));
    EXPECT_EQ(listener.decoder.counts().dropped(RtcmDrop::wrongWeek), 0);
  }
}

/// A listing of the same bytes by the maker of an analyser.
TEST(RtcmStreams, LegacyObservationsAsAnotherDecoderListsThem) {
  GNX_REQUIRE_DATA("streams/gpsd/rtcm3-2.log");
  RtcmListener listener(toGpsTime({2011, 4, 10, 6, 0, 0.0}));
  play(listener, "streams/gpsd/rtcm3-2.log");
  std::map<int, std::map<std::string, double>> ranges;  // by second of the day in Moscow, satellite, m
  int second = 0;
  char system = ' ';
  long rows = 0, same = 0;
  for (const std::string& line : support::linesOf(support::readFile(realFile("streams/gpsd/rtcm3-2.dcd")))) {
    int number = 0;
    double range = 0.0, ambiguity = 0.0, tk = 0.0;
    const auto field = [&](const char* name, double& value) {
      const auto at = line.find(name);
      return at != std::string::npos &&
             std::sscanf(line.c_str() + at + std::string(name).size(), "%lf", &value) == 1;
    };
    if (line.find("Type ") != std::string::npos) system = line.find("1012") != std::string::npos ? 'R' : ' ';
    if (field("Tk=", tk)) second = static_cast<int>(tk);
    if (system != 'R' || std::sscanf(line.c_str(), " SV=%d", &number) != 1) continue;
    if (!field("r=", range) || !field("amb=", ambiguity)) continue;
    ++rows;
    char sat[8];
    std::snprintf(sat, sizeof sat, "R%02d", number);
    ranges[second][sat] = range + ambiguity;
  }
  for (const RtcmEpoch& record : listener.all<RtcmEpoch>()) {
    const GpsTime moscow = record.epoch.time + (3 * 3600.0 - 15.0);
    for (const auto& [sat, range] : ranges[static_cast<int>(std::lround(secondsOfDay(moscow)))]) {
      for (const char* code : {"1C", "1P"}) {
        const SignalObs* signal = support::signalIn(record.epoch, sat, code);
        same += signal != nullptr && std::fabs(signal->range - range) < 0.011 ? 1 : 0;
      }
    }
  }
  EXPECT_GT(rows, 500);
  EXPECT_EQ(same, rows);
}

/// Numbers behind a name in a text, in order.
std::vector<double> numbersBehind(const std::string& text, const std::string& name) {
  std::vector<double> numbers;
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
    numbers.push_back(std::strtod(text.c_str() + at + name.size(), nullptr));
  return numbers;
}

/// Corrections of 2011, in a draft that names no provider.
TEST(RtcmStreams, DraftCorrectionsAsAnotherDecoderListsThem) {
  GNX_REQUIRE_DATA("streams/gpsd/rtcm3-1.log");
  RtcmListener listener(toGpsTime({2011, 4, 10, 22, 0, 0.0}));
  play(listener, "streams/gpsd/rtcm3-1.log");
  std::map<std::string, std::vector<double>> got;
  for (const RtcmSsr& ssr : listener.all<RtcmSsr>()) {
    for (const SsrOrbit& orbit : ssr.block.orbits) {
      got["IOD="].push_back(orbit.iod);
      got[" Radial= "].push_back(orbit.delta[0]);
      got[", Along-Track= "].push_back(orbit.delta[1]);
      got[", Cross-Track= "].push_back(orbit.delta[2]);
    }
    for (const SsrClock& clock : ssr.block.clocks) got["C0="].push_back(clock.c[0]);
    for (const SsrSatBias& sat : ssr.block.biases) {
      for (const SsrBias& bias : sat.biases) got[" bias="].push_back(bias.value);
    }
  }
  std::string listing = support::readFile(realFile("streams/gpsd/rtcm3-1.dcd"));
  for (auto at = listing.find("Dot "); at != std::string::npos; at = listing.find("Dot ", at))
    listing.erase(at, listing.find('\n', at) - at);  // rates, all of them zero
  for (const auto& [name, values] : got) {
    const std::vector<double> listed = numbersBehind(listing, name);
    ASSERT_EQ(values.size(), listed.size()) << name;
    EXPECT_GT(values.size(), 1000U);
    for (std::size_t i = 0; i < values.size(); ++i) EXPECT_NEAR(values[i], listed[i], 1e-9) << name << i;
  }
}

TEST(RtcmStreams, EveryRecordingIsDecodedOrCounted) {
  GNX_REQUIRE_DATA("streams/README.md");
  const std::pair<const char*, GpsTime> recordings[] = {
      {"streams/bds-clk.rtcm.gz", fromWeek(2100, 172805.0)},
      {"streams/clk.rtcm.gz", fromWeek(2100, 171680.0)},
      {"streams/eph_wn.rtcm.gz", fromWeek(2025, 600000.0)},
      {"streams/dropped-packets-STR24.rtcm3.gz", fromWeek(2009, 604000.0)},
      {"streams/missing-beidou-STR17.rtcm3.gz", fromWeek(2009, 604000.0)},
      {"streams/switch-legacy-msm-legacy-msm.rtcm.gz", fromWeek(2100, 0.0)},
      {"streams/msm7.rtcm.gz", fromWeek(2100, 0.0)},
      {"streams/sept.rtcm.gz", fromWeek(2100, 0.0)},
      {"streams/trimble.rtcm.gz", fromWeek(2100, 504658.0)},
      {"streams/qzsl6tool_20210101jaxamdc.rtcm.gz", fromWeek(2138, 431965.0)},
      {"streams/qzsl6tool_20221213-010900.rtcm.gz", fromWeek(2240, 177000.0)},
      {"streams/qzsl6tool_20190529hiroshima.rtcm.gz", fromWeek(2055, 260000.0)},
      {"streams/gpsd/rtcm3-1.log", fromWeek(1631, 25200.0)},
      {"rtcm3/gmsd7_20121014.rtcm3.gz", fromWeek(1710, 0.0)},
      {"rtcm3/ssra03_2026188.rtcm3.gz", fromWeek(2426, 223660.0)}};
  for (const auto& [name, reference] : recordings) {
    RtcmListener listener(reference);
    play(listener, name);
    const RtcmCounts& counts = listener.decoder.counts();
    EXPECT_GE(listener.records.size(), 40U) << name;
    EXPECT_LT(counts.skipped, counts.bytes / 20) << name;
    EXPECT_EQ(counts.dropped(RtcmDrop::tooShort), 0) << name;
    EXPECT_EQ(counts.dropped(RtcmDrop::unknownTime), 0) << name;
  }
}

}  // namespace
}  // namespace gnx
