// Frames in damaged streams, and frames of public streams whose content is known.

#include <random>

#include "rtcm/frames.h"
#include "support/rtcm_streams.h"

namespace gnx {
namespace {

using support::Bytes;
using support::publicFrame;
using support::RtcmListener;

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

TEST(RtcmFrames, AreFoundBetweenOtherBytesInPiecesOfAnyLength) {
  Bytes stream = support::bytesOf("$GPGGA,1*00\r\n\xD3\xD3");
  for (int i = 0; i < 5; ++i) {
    append(stream, publicFrame(1005));
    append(stream, {0xD3, 0x00, 0x00, 0x47, 0xEA, 0x4B, 0xD3, 0x00, 0x13});  // a filler, then a cut frame
  }
  append(stream, Bytes(30, 0));
  for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, stream.size()}) {
    RtcmListener listener;
    for (std::size_t at = 0; at < stream.size(); at += piece)
      listener.decoder.feed(std::span(stream).subspan(at, std::min(piece, stream.size() - at)));
    listener.decoder.flush();
    EXPECT_EQ(listener.all<RtcmPosition>().size(), 5U) << piece;
    const RtcmCounts& counts = listener.decoder.counts();
    EXPECT_EQ(counts.frames, 10);
    EXPECT_EQ(counts.bytes, static_cast<std::int64_t>(stream.size()));
    EXPECT_EQ(counts.skipped, counts.bytes - 5 * (25 + 6));
  }
}

TEST(RtcmFrames, FlushFindsWhatALongFalseFrameHides) {
  Bytes stream{0xD3, 0x03, 0xFF};
  append(stream, publicFrame(1005));
  RtcmListener listener;
  listener.decoder.feed(stream);
  EXPECT_TRUE(listener.records.empty());
  listener.decoder.flush();
  EXPECT_EQ(listener.one<RtcmPosition>().station, 2003);
}

TEST(RtcmFrames, NoDamagedBitPassesAndNothingBreaks) {
  Bytes stream;
  for (const int message :
       {1004, 1085, 1117, 1124, 1019, 1020, 1042, 1057, 1059, 1060, 1265, 1264, 1230, 4076})
    append(stream, publicFrame(message));
  std::mt19937 random(5);
  for (int run = 0; run < 200; ++run) {
    Bytes damaged = stream;
    std::uniform_int_distribution<std::size_t> place(0, damaged.size() - 1);
    const std::size_t bit = random() % 8;
    const std::size_t at = place(random);
    damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ 1U << bit);
    RtcmListener listener(GpsTime{1531000000, 0.0});
    listener.decoder.feed(damaged);
    listener.decoder.flush();
    EXPECT_EQ(listener.decoder.counts().frames, 13);
  }
}

/// Right frames around nonsense: what a decoder of messages must survive.
TEST(RtcmFrames, NonsenseInsideARightFrameIsDroppedAndCounted) {
  std::mt19937 random(6);
  RtcmListener listener(GpsTime{1531000000, 0.0});
  int frames = 0;
  for (int message = 1001; message <= 1270; ++message) {
    for (const std::size_t length : {2U, 9U, 40U, 300U, 1023U}) {
      Bytes body{static_cast<std::uint8_t>(message >> 4), static_cast<std::uint8_t>((message & 15) << 4)};
      while (body.size() < length) body.push_back(static_cast<std::uint8_t>(random()));
      listener.decoder.feed(rtcm::frameOf(body));
      ++frames;
    }
  }
  listener.decoder.flush();
  EXPECT_EQ(listener.decoder.counts().frames, frames);
  EXPECT_GT(listener.decoder.counts().dropped(RtcmDrop::tooShort), 50);
  EXPECT_TRUE(listener.all<BroadcastEph>().empty());
}

// ---- what is in the frames ----

const GpsTime kRome = fromWeek(2404, 504046.0), kRollover = fromWeek(2009, 604200.0);

RtcmListener& heard(RtcmListener& listener, int message, const std::string& mark = "-") {
  listener.decoder.feed(publicFrame(message, mark));
  listener.decoder.flush();
  return listener;
}

void expectSignal(const ObsEpoch& epoch, const std::string& sat, const std::string& code, double range,
                  double phase, double doppler, double snr) {
  const SignalObs* signal = support::signalIn(epoch, sat, code);
  ASSERT_NE(signal, nullptr) << sat << code;
  EXPECT_NEAR(signal->range, range, 6e-4);
  EXPECT_NEAR(signal->phase, phase, 6e-4);
  EXPECT_NEAR(signal->doppler, doppler, 6e-4);
  EXPECT_NEAR(signal->snr, snr, 1e-9);
}

TEST(RtcmMessages, ObservationsOfEveryFamily) {
  RtcmListener msm5(kRome), msm7(kRollover), msm4(kRome), legacy(fromWeek(1630, 194000.0));
  const auto rome = heard(msm5, 1085).one<RtcmEpoch>();
  EXPECT_EQ(rome.epoch.time, kRome);  // given as a time of day in Moscow
  EXPECT_FALSE(rome.complete);        // more was announced
  expectSignal(rome.epoch, "R07", "1C", 19708155.344, 105499368.209, -1620.187, 54.0);
  expectSignal(rome.epoch, "R07", "2P", 19708154.165, 82055093.091, -1260.145, 49.0);
  expectSignal(rome.epoch, "R23", "1C", 19837447.499, 106117022.251, 1800.440, 51.0);

  const auto qzss = heard(msm7, 1117).one<RtcmEpoch>();
  EXPECT_EQ(qzss.epoch.time, fromWeek(2009, 604218.0));
  expectSignal(qzss.epoch, "J01", "1C", 32722988.431, 171960472.606, 159.448, 50.0);
  expectSignal(qzss.epoch, "J01", "2L", 32722988.099, 133995180.400, 124.232, 49.5);

  const auto beidou = heard(msm4, 1124).one<RtcmEpoch>();
  EXPECT_EQ(beidou.epoch.time, fromWeek(2404, 504672.0));
  expectSignal(beidou.epoch, "C14", "2I", 24111969.424, 125557944.876, 0.0, 45.0);
  expectSignal(beidou.epoch, "C14", "7I", 24111962.974, 97089367.570, 0.0, 46.0);

  const auto gps = heard(legacy, 1004).one<RtcmEpoch>();
  EXPECT_EQ(gps.station, 700);
  EXPECT_EQ(gps.epoch.time, fromWeek(1630, 194448.0));
  expectSignal(gps.epoch, "G24", "1C", 22401967.992, 22401953.1985 * 1575.42e6 / kLightSpeed, 0.0, 44.0);
  expectSignal(gps.epoch, "G24", "2P", 22401975.072, 22401948.1115 * 1227.6e6 / kLightSpeed, 0.0, 28.0);
}

TEST(RtcmMessages, BroadcastMessagesAcrossAWeekThatTheyTellWrong) {
  RtcmListener listener(fromWeek(2009, 604209.0));
  for (const int message : {1019, 1020, 1042}) heard(listener, message);
  const auto messages = listener.all<BroadcastEph>();
  ASSERT_EQ(messages.size(), 2U);
  const BroadcastEph& gps = messages[0];
  EXPECT_EQ(gps.sat, "G01");
  EXPECT_EQ(gps.toe, fromWeek(2010, 0.0));  // sent with the week before
  EXPECT_EQ(gps.iode, 36);
  EXPECT_NEAR(gps.m0, -1.74437129065, 1e-11);
  EXPECT_NEAR(gps.sqrtA, 5153.66987801, 1e-8);
  EXPECT_NEAR(gps.af[0], -6.58305361867e-05, 1e-16);
  EXPECT_NEAR(gps.tgd[0], 5.58793544769e-09, 1e-20);
  const BroadcastEph& beidou = messages[1];
  EXPECT_EQ(beidou.toe, fromWeek(2009, 601214.0));
  EXPECT_NEAR(beidou.crs, -874.40625, 1e-12);
  EXPECT_NEAR(beidou.tgd[1], -10.4e-9, 1e-20);
  const auto glonass = listener.one<GlonassEph>();
  EXPECT_EQ(glonass.sat, "R03");
  EXPECT_EQ(glonass.channel, 5);
  EXPECT_EQ(glonass.toe, fromWeek(2009, 6 * 86400.0 + 85500.0 + 18.0));
  EXPECT_NEAR(glonass.position[0], -15395338.8672, 1e-4);
  EXPECT_NEAR(glonass.velocity[0], -1114.61162567, 1e-8);
  EXPECT_NEAR(glonass.tau, 1.37702561915e-04, 1e-15);
}

TEST(RtcmMessages, AGalileoWeekCountedAsThatOfGpsTellsTheDate) {
  RtcmListener rome, other(fromWeek(2275, 351600.0)), yesterday(fromWeek(2270, 351600.0));
  const auto eph = heard(rome, 1046, "gpsWeek").one<BroadcastEph>();
  EXPECT_EQ(eph.toe, fromWeek(2404, 502800.0));
  EXPECT_NEAR(eph.tgd[0], -3.0267983675e-09, 1e-19);
  EXPECT_EQ(heard(other, 1046).one<BroadcastEph>().iode, 74);
  heard(yesterday, 1046);
  EXPECT_TRUE(yesterday.records.empty());
  EXPECT_EQ(yesterday.decoder.counts().dropped(RtcmDrop::wrongWeek), 1);
}

TEST(RtcmMessages, CorrectionsOfBothFormsAndOfDrafts) {
  RtcmListener rome(kRome);
  const auto orbit = heard(rome, 1057).one<RtcmSsr>();
  EXPECT_EQ(orbit.provider, 260);
  EXPECT_EQ(orbit.block.time, fromWeek(2404, 504772.0));
  ASSERT_EQ(orbit.block.orbits.size(), 8U);
  EXPECT_EQ(orbit.block.orbits[1].iod, 107);
  EXPECT_NEAR(orbit.block.orbits[1].delta[1], -0.8020, 1e-9);

  RtcmListener combined(kRome);
  const auto both = heard(combined, 1060).all<RtcmSsr>();
  ASSERT_EQ(both.size(), 2U);
  EXPECT_EQ(both[0].block.interval, 10);
  EXPECT_NEAR(both[0].block.orbits[0].rate[1], 0.000824, 1e-12);
  EXPECT_NEAR(both[1].block.clocks[1].c[0], -0.1611, 1e-9);
  EXPECT_EQ(both[1].block.clocks[1].iod, 20);

  RtcmListener phase(kRome);
  const auto biases = heard(phase, 1267).one<RtcmSsr>();
  EXPECT_TRUE(biases.wideLane);
  ASSERT_EQ(biases.block.biases.size(), 10U);
  EXPECT_EQ(biases.block.biases[0].yaw, 323.4375);
  const SsrBias& third = biases.block.biases[0].biases[2];
  EXPECT_EQ(third.signal, "7X");
  EXPECT_EQ(third.integerIndicator, 1);
  EXPECT_EQ(third.wideLaneIndicator, 2);
  EXPECT_EQ(third.discontinuity, 10);
  EXPECT_NEAR(third.value, -1.0488, 1e-9);

  RtcmListener checksums(kRome), count(kRome), igs(kRome);
  const auto beidou = heard(checksums, 1261, "checksumIssue").all<RtcmSsr>();
  ASSERT_EQ(beidou.size(), 2U);
  EXPECT_EQ(beidou[0].block.orbits[0].iod, -1);
  EXPECT_NEAR(beidou[0].block.orbits[0].delta[2], 14.4560, 1e-9);
  EXPECT_NEAR(beidou[1].block.clocks[1].c[0], -3.2847, 1e-9);
  const auto qzss = heard(count, 1246, "fourBitCount").one<RtcmSsr>();
  EXPECT_EQ(qzss.block.orbits.at(0).sat, "J01");
  EXPECT_EQ(qzss.block.orbits[0].iod, 29);
  const auto glonass = heard(igs, 4076).one<RtcmSsr>();
  ASSERT_EQ(glonass.block.biases.size(), 21U);
  EXPECT_EQ(glonass.block.biases[0].biases[3].signal, "2P");
  EXPECT_NEAR(glonass.block.biases[0].biases[3].value, 3.91, 1e-9);

  RtcmListener map(kRome);
  const auto ionosphere = heard(map, 1264).one<RtcmIonosphere>();
  ASSERT_EQ(ionosphere.layers.size(), 1U);
  EXPECT_EQ(ionosphere.layers[0].height, 530e3);
  EXPECT_NEAR(ionosphere.layers[0].cosine[1], -149.635, 1e-9);
  EXPECT_NEAR(ionosphere.layers[0].sine[2], 11.180, 1e-9);
}

TEST(RtcmMessages, StationsAndBiases) {
  RtcmListener listener;
  for (const int message : {1006, 1230}) heard(listener, message);
  const auto position = listener.one<RtcmPosition>();
  EXPECT_NEAR(position.position[0], -4467102.3061, 1e-9);
  EXPECT_NEAR(position.position[2], -3666949.9820, 1e-9);
  EXPECT_NEAR(position.height, 0.004, 1e-12);
  EXPECT_NEAR(listener.one<RtcmGlonassBias>().bias.at("2P"), -71.94, 1e-9);
}

}  // namespace
}  // namespace gnx
