// What an encoder sends, a decoder gives back; losses of lock, rollovers, epochs in parts.

#include <cmath>
#include <random>

#include "rtcm/bits.h"
#include "rtcm/frames.h"
#include "support/rtcm_streams.h"

namespace gnx {
namespace {

using support::RtcmListener;

/// Values within fields of given steps and widths.
class Values {
 public:
  double of(double step, int bits, bool isSigned = true) {
    const auto limit = std::int64_t{1} << (isSigned ? bits - 1 : bits);
    std::uniform_int_distribution<std::int64_t> number(isSigned ? 1 - limit : 0, limit - 1);
    return static_cast<double>(number(m_random)) * step;
  }
  int integer(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_random); }
  double real(double least, double most) {
    return std::uniform_real_distribution<double>(least, most)(m_random);
  }

 private:
  std::mt19937_64 m_random{20260206};
};

BroadcastEph randomEphemeris(Values& v, char system, const GpsTime& toe) {
  constexpr double kPi = 3.1415926535898;
  const auto circle = [&](int power, int bits) { return v.of(kPi * std::ldexp(1.0, -power), bits); };
  BroadcastEph e;
  e.sat = std::string{system} + "0" + std::to_string(v.integer(1, 9));
  e.toe = toe, e.toc = toe;
  e.iode = v.integer(0, system == 'C' ? 31 : 255), e.iodc = system == 'C' ? v.integer(0, 31) : e.iode;
  if (system == 'E') e.iodc = 0;
  e.accuracy = v.integer(0, system == 'E' ? 3 : 4), e.health = v.integer(0, 1);
  e.code = system == 'E' ? (v.integer(0, 1) != 0 ? 258 : 517) : system == 'C' ? 0 : v.integer(0, 3);
  if (system == 'E') e.health = e.code == 258 ? 5 << 3 : 3 << 6 | 1;
  e.af = {v.of(std::ldexp(1.0, -31), 20), v.of(std::ldexp(1.0, -43), 14), 0.0};
  e.crs = v.of(std::ldexp(1.0, -5), 16), e.crc = v.of(std::ldexp(1.0, -5), 16);
  e.deltaN = circle(43, 16), e.idot = circle(43, 14), e.omegaDot = circle(43, 24);
  e.m0 = circle(31, 32), e.omega0 = circle(31, 32), e.i0 = circle(31, 32), e.omega = circle(31, 32);
  for (double* term : {&e.cuc, &e.cus, &e.cic, &e.cis}) *term = v.of(std::ldexp(1.0, -29), 16);
  e.e = v.of(std::ldexp(1.0, -33), 30, false), e.sqrtA = 5000.0 + v.of(std::ldexp(1.0, -19), 28, false);
  e.tgd[0] = system == 'C' ? 1e-10 * v.integer(-500, 500) : v.of(std::ldexp(1.0, -31), 8);
  if (system == 'E' && e.code == 517) e.tgd[1] = v.of(std::ldexp(1.0, -32), 10);
  return e;
}

TEST(RtcmRoundTrip, BroadcastMessagesOfAllSystemsBackToTheBit) {
  Values v;
  for (int run = 0; run < 200; ++run) {
    const char system = "GEJC"[run % 4];
    const int grid = v.integer(0, 167) * 3600;
    const GpsTime toe = fromWeek(v.integer(1500, 3000), grid + (system == 'C' ? kBdtOffset : 0.0));
    const BroadcastEph sent = randomEphemeris(v, system, toe);
    RtcmListener listener(toe + v.real(-7000.0, 7000.0));
    listener.decoder.feed(RtcmEncoder().ephemeris(sent));
    const auto got = listener.one<BroadcastEph>();
    ASSERT_EQ(got.sat, sent.sat);
    EXPECT_EQ(got.toe, sent.toe);
    EXPECT_EQ(got.toc, sent.toc);
    EXPECT_EQ(got.af, sent.af);
    const auto integers = [](const BroadcastEph& e) {
      return std::array{e.iode, e.iodc, e.health, e.accuracy, e.code};
    };
    EXPECT_EQ(integers(got), integers(sent)) << sent.sat;
    const auto reals = [](const BroadcastEph& e) {
      return std::array{e.crs, e.deltaN, e.m0,  e.cuc,   e.e,        e.cus,  e.sqrtA,  e.cic,   e.omega0,
                        e.cis, e.i0,     e.crc, e.omega, e.omegaDot, e.idot, e.tgd[0], e.tgd[1]};
    };
    EXPECT_EQ(reals(got), reals(sent)) << sent.sat;
  }
}

TEST(RtcmRoundTrip, GlonassMessageAroundMidnightInMoscow) {
  for (const double second : {75600.0 - 900.0, 75600.0 + 900.0, 3600.0}) {
    GlonassEph sent;
    sent.sat = "R11";
    sent.toe = fromWeek(2404, 3 * 86400.0 + second + 18.0), sent.frame = sent.toe + -600.0;
    sent.tau = std::ldexp(-1234.0, -30), sent.gamma = std::ldexp(3.0, -40);
    sent.position = {1.2e7, -1.5e7, 1.6e7}, sent.velocity = {-1000.0, 2000.0, 500.0};
    sent.acceleration = {0.0, std::ldexp(-3000.0, -30), 0.0};
    sent.channel = -7, sent.age = 3;
    RtcmListener listener(sent.toe + 5000.0);
    listener.decoder.feed(RtcmEncoder().ephemeris(sent));
    const auto got = listener.one<GlonassEph>();
    EXPECT_EQ(got.toe, sent.toe);
    EXPECT_EQ(got.frame, sent.frame);
    EXPECT_EQ(got.tau, sent.tau);
    EXPECT_EQ(got.channel, sent.channel);
    EXPECT_EQ(got.acceleration, sent.acceleration);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(got.position[i], sent.position[i], 0.25);
  }
}

// ---- observations ----

/// A sky of all systems, with more cells in one system than a message holds.
ObsEpoch randomEpoch(Values& v, const GpsTime& time) {
  ObsEpoch epoch{time, {}};
  const std::pair<char, std::vector<std::string>> systems[] = {{'G', {"1C", "2W", "2L", "5Q"}},
                                                               {'R', {"1C", "2P"}},
                                                               {'E', {"1X", "5X", "7X"}},
                                                               {'C', {"2I", "6I"}},
                                                               {'J', {"1C"}}};
  for (const auto& [system, signals] : systems) {
    for (int number = 1; number <= (system == 'G' ? 24 : 8); ++number) {
      SatObs sat{
          std::string{system} + static_cast<char>('0' + number / 10) + static_cast<char>('0' + number % 10),
          {}};
      const double range = v.real(1.9e7, 4.1e7), rate = v.real(-900.0, 900.0);
      for (const std::string& name : signals) {
        SignalObs obs;
        obs.code = {name[0], name[1], '\0'};
        obs.range = range + v.real(-30.0, 30.0), obs.phase = obs.range * 5.2 + v.real(-1e6, 1e6);
        obs.doppler = -rate * *carrierFrequency(system, name[0]) / kLightSpeed,
        obs.snr = 0.0625 * v.integer(300, 900);
        sat.signals.push_back(obs);
      }
      epoch.sats.push_back(std::move(sat));
    }
  }
  return epoch;
}

TEST(RtcmRoundTrip, ObservationsComeBackAsOneEpoch) {
  Values v;
  const GpsTime time = fromWeek(2404, 504000.25);
  const ObsEpoch sent = randomEpoch(v, time);
  RtcmEncoder encoder(17);
  RtcmListener listener(time + 100.0);
  for (int slot = 1; slot <= 8; ++slot) {
    GlonassEph eph;
    eph.sat = "R0" + std::to_string(slot), eph.channel = slot - 5;
    encoder.learn(eph);
  }
  listener.decoder.feed(encoder.observations(sent));
  const auto got = listener.one<RtcmEpoch>();
  EXPECT_TRUE(got.complete);
  EXPECT_EQ(got.station, 17);
  EXPECT_EQ(got.epoch.time, time);
  EXPECT_GT(listener.decoder.counts().messages.at(1077), 1);
  ASSERT_EQ(got.epoch.sats.size(), sent.sats.size());
  for (const SatObs& sat : sent.sats) {
    for (const SignalObs& obs : sat.signals) {
      const SignalObs* back = support::signalIn(got.epoch, sat.sat, obs.code.data());
      ASSERT_NE(back, nullptr) << sat.sat << obs.code.data();
      EXPECT_NEAR(back->range, obs.range, 3e-4);
      EXPECT_NEAR(back->phase - obs.phase, std::round(back->phase - obs.phase), 6e-4);
      EXPECT_NEAR(back->doppler, obs.doppler, 3e-4);
      EXPECT_EQ(back->snr, obs.snr);
      EXPECT_EQ(back->lli, 0);
    }
  }
}

/// One GPS signal every second, through an encoder.
struct OneSignal {
  RtcmEncoder encoder;
  GpsTime time = fromWeek(2404, 604795.0);
  RtcmListener listener{time};
  double phase = 1.1e8;

  const SignalObs at(double step, int lli, bool send = true) {
    time = time + step;
    SignalObs obs;
    obs.code = {'1', 'C', '\0'}, obs.range = 2.1e7, obs.phase = phase, obs.lli = lli;
    const auto bytes = encoder.observations({time, {{"G07", {obs}}}});
    if (!send) return {};
    listener.records.clear();
    listener.decoder.feed(bytes);
    const auto epoch = listener.one<RtcmEpoch>().epoch;
    EXPECT_EQ(epoch.time, time);
    const SignalObs* back = support::signalIn(epoch, "G07", "1C");
    return back == nullptr ? SignalObs{} : *back;
  }
};

TEST(RtcmRoundTrip, LossesOfLockAndHalfCyclesAcrossTheWeek) {
  OneSignal signal;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(signal.at(1.0, 0).lli, 0);  // over the end of the week
  EXPECT_EQ(signal.at(1.0, 1).lli, 1);
  const double before = signal.at(1.0, 0).phase;
  signal.phase += 123.25;
  const SignalObs moved = signal.at(1.0, 0);
  EXPECT_EQ(moved.lli, 0);
  EXPECT_NEAR(moved.phase - before, 123.25, 1e-3);
  EXPECT_EQ(signal.at(1.0, 2).lli, 2);
  EXPECT_EQ(signal.at(1.0, 2).lli, 2);
  EXPECT_EQ(signal.at(1.0, 0).lli, 1);   // the half cycle may have been resolved
  EXPECT_EQ(signal.at(20.0, 0).lli, 0);  // the lock time spans a gap
  signal.at(1.0, 1, false);              // the epoch of the loss does not arrive
  EXPECT_EQ(signal.at(1.0, 0).lli, 1);
  signal.phase += 1e5;  // beyond what a message can hold: the encoder begins a new arc
  EXPECT_EQ(signal.at(1.0, 0).lli, 1);
}

TEST(RtcmEpochs, LostAndLateParts) {
  Values v;
  const GpsTime time = fromWeek(2404, 100000.0);
  RtcmEncoder encoder;
  const auto frames = [&](double second) {
    ObsEpoch epoch = randomEpoch(v, time + second);
    std::erase_if(epoch.sats, [](const SatObs& sat) { return sat.sat[0] != 'G' && sat.sat[0] != 'E'; });
    const support::Bytes bytes = encoder.observations(epoch);
    std::vector<support::Bytes> parts;
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t length = 6U + (bytes[at + 1] & 3U) * 256U + bytes[at + 2];
      const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
      parts.emplace_back(from, from + static_cast<std::ptrdiff_t>(length));
      at += length;
    }
    return parts;
  };
  RtcmListener listener(time);
  const auto first = frames(0.0), second = frames(1.0);
  ASSERT_GE(first.size(), 2U);
  for (std::size_t i = 0; i + 1 < first.size(); ++i) listener.decoder.feed(first[i]);
  EXPECT_TRUE(listener.records.empty());  // waits for the last part, which is lost
  for (const auto& part : second) listener.decoder.feed(part);
  const auto epochs = listener.all<RtcmEpoch>();
  ASSERT_EQ(epochs.size(), 2U);
  EXPECT_FALSE(epochs[0].complete);
  EXPECT_TRUE(epochs[1].complete);
  listener.decoder.feed(first.back());
  listener.decoder.flush();
  EXPECT_EQ(listener.all<RtcmEpoch>().size(), 2U);
  EXPECT_EQ(listener.decoder.counts().dropped(RtcmDrop::late), 1);
}

/// A satellite of message 1002 at a second of the week, its phase against its code in cycles.
support::Bytes legacyFrame(int second, double cycles, int lock) {
  rtcm::BitWriter bits;
  for (const auto& [value, width] :
       {std::pair{1002, 12}, {5, 12}, {second * 1000, 30}, {0, 1}, {1, 5}, {0, 4}})
    bits.number(value, width);
  bits.number(9, 6), bits.number(0, 1), bits.number(1000000, 24);
  bits.i(std::lround(cycles * kLightSpeed / 1575.42e6 / 0.0005), 20);
  bits.number(lock, 7), bits.number(70, 8), bits.number(180, 8);
  return rtcm::frameOf(bits.bytes());
}

TEST(RtcmEpochs, LegacySendersMovePhasesBy1500Cycles) {
  RtcmListener listener(fromWeek(2404, 90.0));
  int second = 100;
  for (const auto& [cycles, lock] :
       {std::pair{700.0, 20}, {740.0, 21}, {-720.0, 22}, {-700.0, 23}, {-690.0, 3}})
    listener.decoder.feed(legacyFrame(second++, cycles, lock));
  const double sent[] = {700.0, 740.0, 780.0, 800.0, -690.0};  // behind a loss of lock anew
  const auto epochs = listener.all<RtcmEpoch>();
  ASSERT_EQ(epochs.size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    const SignalObs& obs = epochs[i].epoch.sats.at(0).signals.at(0);
    EXPECT_NEAR(obs.phase - obs.range * 1575.42e6 / kLightSpeed, sent[i], 2e-3);
    EXPECT_EQ(obs.lli, i == 4 ? 1 : 0);
  }
}

// ---- times ----

TEST(RtcmTimes, RolloversOfWeekDayAndLeapSecond) {
  const ObsEpoch empty{{}, {}};
  const GpsTime leap = toGpsTime({2017, 1, 1, 0, 0, 0.0}) + 17.0;  // 23:59:60 UTC
  for (const GpsTime& around : {fromWeek(2048, 0.0), fromWeek(2404, 75600.0 + 18.0), leap}) {
    RtcmEncoder encoder;
    RtcmListener listener(around + -3.0);
    int expected = 0;
    for (int second = -3; second <= 3; ++second) {
      const GpsTime time = around + second;
      SignalObs obs;
      obs.range = 2.2e7, obs.snr = 40.0;
      ObsEpoch epoch{time, {}};
      for (const auto& [sat, code] :
           {std::pair{"G03", "1C"}, std::pair{"R04", "1C"}, std::pair{"C05", "2I"}, std::pair{"E06", "1C"}}) {
        obs.code = {code[0], code[1], '\0'};
        epoch.sats.push_back({sat, {obs}});
      }
      listener.decoder.feed(encoder.observations(epoch));
      const auto epochs = listener.all<RtcmEpoch>();
      // The two readings of a leap second are one: there GLONASS may stand alone.
      if (around == leap && std::abs(second) <= 1) {
        expected = static_cast<int>(epochs.size());
        continue;
      }
      ASSERT_EQ(static_cast<int>(epochs.size()), ++expected) << time;
      EXPECT_EQ(epochs.back().epoch.time, time);
      EXPECT_EQ(epochs.back().epoch.sats.size(), 4U);
    }
  }
}

TEST(RtcmTimes, NothingIsPlacedBeforeADateIsKnown) {
  RtcmListener listener;
  listener.decoder.feed(support::publicFrame(1085));
  listener.decoder.feed(support::publicFrame(1057));
  EXPECT_TRUE(listener.records.empty());
  EXPECT_EQ(listener.decoder.counts().dropped(RtcmDrop::unknownTime), 2);
  listener.decoder.feed(support::publicFrame(1046, "gpsWeek"));
  listener.decoder.feed(support::publicFrame(1057));
  EXPECT_EQ(listener.one<RtcmSsr>().block.time, fromWeek(2404, 504772.0));
}

// ---- corrections ----

TEST(RtcmRoundTrip, CorrectionsOfAllSystems) {
  Values v;
  RtcmListener listener(fromWeek(2404, 300000.0));
  RtcmSsr sent;
  sent.provider = 260, sent.solution = 3, sent.issue = 5;
  sent.block.time = fromWeek(2404, 300030.0), sent.block.interval = 5;
  RtcmSsr clocks = sent, codes = sent, phases = sent;
  clocks.block.kind = SsrKind::clock;
  codes.block.kind = SsrKind::codeBias, phases.block.kind = SsrKind::phaseBias;
  phases.wideLane = true;
  for (const std::string sat : {"C19", "C20", "E07", "E11", "G01", "G32", "J02", "R24"}) {
    SsrOrbit orbit{sat, sat[0] == 'C' ? v.integer(1, 48) : v.integer(0, 95), {}, {}};
    orbit.delta = {v.of(1e-4, 22), v.of(4e-4, 20), v.of(4e-4, 20)};
    orbit.rate = {v.of(1e-6, 21), v.of(4e-6, 19), v.of(4e-6, 19)};
    sent.block.orbits.push_back(orbit);
    clocks.block.clocks.push_back({sat, orbit.iod, {v.of(1e-4, 22), v.of(1e-6, 21), v.of(2e-8, 27)}});
    const std::string signal = sat[0] == 'C' ? "6I" : "1C";
    codes.block.biases.push_back({sat, 0.0, 0.0, {{signal, v.of(0.01, 14), 0, 0, 0}}});
    phases.block.biases.push_back(
        {sat,
         180.0 / 256.0 * v.integer(0, 511),
         v.of(180.0 / 8192.0, 8),
         {{signal, v.of(1e-4, 20), v.integer(0, 1), v.integer(0, 3), v.integer(0, 15)}}});
  }
  const RtcmEncoder encoder;
  for (const RtcmSsr* ssr : {&sent, &clocks, &codes, &phases})
    listener.decoder.feed(encoder.corrections(*ssr));
  RtcmSsr got[4];
  for (const RtcmSsr& part : listener.all<RtcmSsr>()) {
    EXPECT_EQ(part.block.time, sent.block.time);
    EXPECT_EQ(part.provider, 260);
    SsrBlock& whole = got[static_cast<int>(part.block.kind)].block;
    whole.orbits.insert(whole.orbits.end(), part.block.orbits.begin(), part.block.orbits.end());
    whole.clocks.insert(whole.clocks.end(), part.block.clocks.begin(), part.block.clocks.end());
    whole.biases.insert(whole.biases.end(), part.block.biases.begin(), part.block.biases.end());
  }
  for (std::size_t i = 0; i < sent.block.orbits.size(); ++i) {
    const SsrOrbit &a = sent.block.orbits[i], &b = got[0].block.orbits.at(i);
    EXPECT_EQ(a.sat, b.sat);
    EXPECT_EQ(a.iod, b.iod) << a.sat;
    EXPECT_EQ(a.delta, b.delta);
    EXPECT_EQ(a.rate, b.rate);
    EXPECT_EQ(got[1].block.clocks.at(i).iod, a.iod);
    EXPECT_EQ(got[1].block.clocks.at(i).c, clocks.block.clocks[i].c);
    EXPECT_EQ(got[2].block.biases.at(i).biases.at(0).value, codes.block.biases[i].biases[0].value);
    const SsrSatBias &p = phases.block.biases[i], &q = got[3].block.biases.at(i);
    EXPECT_EQ(p.yaw, q.yaw);
    EXPECT_EQ(p.yawRate, q.yawRate);
    EXPECT_EQ(p.biases[0].value, q.biases.at(0).value);
    EXPECT_EQ(p.biases[0].wideLaneIndicator, q.biases[0].wideLaneIndicator);
    EXPECT_EQ(p.biases[0].discontinuity, q.biases[0].discontinuity);
  }
}

/// IGS corrections carry eight of the ten bits of Galileo's issue.
TEST(RtcmCorrections, AShortIssueIsCompletedByTheMessageSeen) {
  rtcm::BitWriter bits;
  constexpr int kHead[][2] = {{4076, 12}, {3, 3}, {61, 8}, {300005, 20}, {2, 4},  {0, 1}, {1, 4},
                              {7, 16},    {1, 4}, {0, 1},  {1, 6},       {11, 6}, {44, 8}};
  for (const auto& [value, width] : kHead) bits.number(value, width);
  for (const int width : {22, 20, 20, 21, 19, 19}) bits.number(0, width);
  for (const bool seen : {false, true}) {
    RtcmListener listener(fromWeek(2404, 300000.0));
    BroadcastEph eph;
    eph.sat = "E11", eph.iode = 512 + 44;
    if (seen) listener.decoder.learn(eph);
    listener.decoder.feed(rtcm::frameOf(bits.bytes()));
    EXPECT_EQ(listener.one<RtcmSsr>().block.orbits.at(0).iod, seen ? 556 : 44);
  }
}

TEST(RtcmCorrections, AClockBelongsToTheOrbitOfItsSet) {
  RtcmListener listener(fromWeek(2404, 300000.0));
  const RtcmEncoder encoder;
  RtcmSsr orbit, clock;
  orbit.block.time = clock.block.time = fromWeek(2404, 300005.0);
  orbit.block.orbits = {{"G05", 33, {}, {}}};
  clock.block.kind = SsrKind::clock, clock.block.clocks = {{"G05", 0, {1.5, 0.0, 0.0}}};
  orbit.issue = 2, clock.issue = 3;
  listener.decoder.feed(encoder.corrections(clock));  // before any orbit
  listener.decoder.feed(encoder.corrections(orbit));
  listener.decoder.feed(encoder.corrections(clock));  // of another set
  clock.issue = 2, clock.block.time = fromWeek(2404, 300004.0);
  listener.decoder.feed(encoder.corrections(clock));  // older than the orbit
  EXPECT_EQ(listener.decoder.counts().dropped(RtcmDrop::withoutOrbit), 3);
  clock.block.time = fromWeek(2404, 300010.0);
  listener.decoder.feed(encoder.corrections(clock));
  EXPECT_EQ(listener.all<RtcmSsr>().back().block.clocks.at(0).iod, 33);
}

}  // namespace
}  // namespace gnx
