// Broadcast messages with Keplerian elements, both ways.

#include "rtcm/ephemerides.h"

#include <algorithm>
#include <cmath>

#include "rtcm/ephemeris_layouts.h"

namespace gnx::rtcm {

namespace {

using enum Element;
using Elements = Content<Element>;

/// Elements that are the same numbers in a message and in an ephemeris.
struct Same {
  Element element;
  double BroadcastEph::*member;
};
constexpr Same kSame[] = {{crs, &BroadcastEph::crs},       {deltaN, &BroadcastEph::deltaN},
                          {m0, &BroadcastEph::m0},         {cuc, &BroadcastEph::cuc},
                          {e, &BroadcastEph::e},           {cus, &BroadcastEph::cus},
                          {sqrtA, &BroadcastEph::sqrtA},   {cic, &BroadcastEph::cic},
                          {omega0, &BroadcastEph::omega0}, {cis, &BroadcastEph::cis},
                          {i0, &BroadcastEph::i0},         {crc, &BroadcastEph::crc},
                          {omega, &BroadcastEph::omega},   {omegaDot, &BroadcastEph::omegaDot},
                          {idot, &BroadcastEph::idot}};

/// Pieces of the scale of Galileo's signal-in-space accuracy: from index, metres there, step.
struct SisaPiece {
  int from;
  double start_m, step_m;
};
constexpr SisaPiece kSisa[] = {{100, 2.0, 0.16}, {75, 1.0, 0.04}, {50, 0.5, 0.02}, {0, 0.0, 0.01}};
constexpr int kLastSisa = 125, kNoPrediction = 15;

/// Accuracy index of the ephemeris, which counts in the classes of GPS, of a SISA index.
int accuracyOfSisa(int index) {
  if (index > kLastSisa) return kNoPrediction;
  for (const SisaPiece& piece : kSisa) {
    if (index < piece.from) continue;
    const double metres = piece.start_m + piece.step_m * (index - piece.from);
    const auto limit = std::lower_bound(kAccuracyLimits_m.begin(), kAccuracyLimits_m.end(), metres);
    return static_cast<int>(limit - kAccuracyLimits_m.begin());
  }
  return kNoPrediction;
}

/// The largest SISA index of a class.
int sisaOfAccuracy(int accuracy) {
  int index = 255;
  for (int i = kLastSisa; i >= 0; --i) {
    if (accuracyOfSisa(i) != accuracy) continue;
    index = i;
    break;
  }
  return index;
}

/// Health of Galileo's signals at its places in RINEX: E1-B, E5a, E5b, three bits each.
int galileoHealth(const KeplerLayout& layout, const Elements& content) {
  const int first = content.integer(health) << 1 | content.integer(validity);
  if (layout.message == 1045) return first << 3;
  return first << 6 | content.integer(health2) << 1 | content.integer(validity2);
}

/// The week of transmission only has to agree: senders disagree on whether it is that of the ephemeris, and
/// one counts Galileo's weeks as those of GPS.
bool weekAgrees(const KeplerLayout& layout, int sent, const GpsTime& toe) {
  int week = 0;
  secondsOfWeek(toe, &week);
  const int range = 1 << layout.weekBits;
  const auto near = [&](int expected) {
    const int difference = ((sent - expected) % range + range) % range;
    return difference <= 1 || difference == range - 1;
  };
  return near(week - layout.weekZero) || (layout.system == 'E' && near(week));
}

bool plausible(const BroadcastEph& eph) {
  return eph.e < 0.5 && eph.sqrtA > 4000.0 && eph.sqrtA < 8000.0 && std::fabs(eph.toe - eph.toc) <= 86400.0;
}

/// A message that counts weeks in many bits tells the date to a stream without one.
void learnDate(const KeplerLayout& layout, const Elements& content, Context& context) {
  if (layout.weekBits < 12 || context.time.known()) return;
  const int sent = content.integer(week);
  const bool countedAsGps = layout.system == 'E' && sent >= 2048;  // Galileo comes there in 2038
  context.time.learn(fromWeek(sent + (countedAsGps ? 0 : layout.weekZero), content.value(toe)));
}

BroadcastEph ephemerisOf(const KeplerLayout& layout, const Elements& content) {
  BroadcastEph eph;
  eph.sat = satelliteName(layout.system, content.integer(satellite));
  for (const Same& same : kSame) eph.*same.member = content.value(same.element);
  eph.af = {content.value(af0), content.value(af1), content.value(af2)};
  eph.iode = content.integer(iode), eph.iodc = content.integer(iodc);
  eph.health = content.integer(health), eph.accuracy = content.integer(accuracy);
  eph.code = content.integer(l2Codes), eph.l2flag = content.integer(l2Data);
  eph.tgd[0] = content.value(tgd), eph.tgd[1] = content.value(tgd2);
  if (layout.system == 'E') {
    eph.code = layout.dataSources;
    eph.health = galileoHealth(layout, content);
    eph.accuracy = accuracyOfSisa(eph.accuracy);
  }
  return eph;
}

}  // namespace

void decodeKepler(int number, BitReader bits, Context& context) {
  const KeplerLayout& layout = *keplerLayout(number);
  Elements content;
  content.read(bits, layout.fields);
  if (bits.overrun()) return context.drop(RtcmDrop::tooShort);
  BroadcastEph eph = ephemerisOf(layout, content);
  learnDate(layout, content, context);
  const auto time = [&](Element element) {
    const auto ms = static_cast<std::int64_t>(content.value(element) * 1000.0);
    if (ms >= kWeek_ms) return std::optional<GpsTime>{};
    return layout.system == 'C' ? context.time.ofBeidouWeek(ms) : context.time.ofWeek(ms);
  };
  const auto ephemeris = time(toe), clock = time(toc);
  if (!ephemeris || !clock) return context.dropTime();
  eph.toe = *ephemeris, eph.toc = *clock;
  if (content.integer(satellite) == 0) return context.drop(RtcmDrop::unknownSatellite);
  if (!plausible(eph)) return context.drop(RtcmDrop::impossibleValue);
  if (!weekAgrees(layout, content.integer(week), eph.toe)) return context.drop(RtcmDrop::wrongWeek);
  context.learn(eph);
  context.give(std::move(eph));
}

BitWriter encodeKepler(const BroadcastEph& eph) {
  const char system = eph.sat.at(0);
  const int number = system == 'G'   ? 1019
                     : system == 'C' ? 1042
                     : system == 'J' ? 1044
                     : system == 'E' ? ((eph.code & 2) != 0 ? 1045 : 1046)
                                     : 0;
  const KeplerLayout* layout = keplerLayout(number);
  if (layout == nullptr) throw UsageError("there is no message for ephemerides of " + eph.sat);
  std::array<double, static_cast<std::size_t>(Element::count)> values{};
  const auto set = [&](Element element, double value) { values[static_cast<std::size_t>(element)] = value; };
  const double offset = system == 'C' ? kBdtOffset : 0.0;
  int weekNumber = 0;
  set(toe, secondsOfWeek(eph.toe + -offset, &weekNumber));
  set(toc, secondsOfWeek(eph.toc + -offset, nullptr));
  set(week, (weekNumber - layout->weekZero) & ((1 << layout->weekBits) - 1));
  set(message, number), set(satellite, std::stoi(eph.sat.substr(1)));
  for (const Same& same : kSame) set(same.element, eph.*same.member);
  set(af0, eph.af[0]), set(af1, eph.af[1]), set(af2, eph.af[2]);
  set(iode, eph.iode), set(iodc, eph.iodc), set(accuracy, eph.accuracy), set(health, eph.health);
  set(l2Codes, eph.code), set(l2Data, eph.l2flag), set(tgd, eph.tgd[0]), set(tgd2, eph.tgd[1]);
  if (system == 'E') {
    const int own = eph.health >> (number == 1045 ? 3 : 6) & 7;
    set(accuracy, sisaOfAccuracy(eph.accuracy)), set(health, own >> 1), set(validity, own & 1);
    set(health2, eph.health >> 1 & 3), set(validity2, eph.health & 1);
  }
  BitWriter bits;
  Elements::write(bits, layout->fields, values);
  return bits;
}

}  // namespace gnx::rtcm
