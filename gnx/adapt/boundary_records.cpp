// Records as those of the boundary: numbers, times, messages, biases, the station.

#include <algorithm>
#include <iterator>

#include "gnx/adapt.h"

namespace gnx {

GNX_IO::gtime_t toBoundaryTime(const GpsTime& t) { return {t.seconds, t.fraction}; }

BoundaryNumbers::BoundaryNumbers() {
  for (int sat = 1; sat <= GNX_IO::kMaxSatellite; ++sat) {
    char id[32] = "";
    GNX_IO::satno2id(sat, id);
    if (id[0] != '\0') satellites_[id] = sat;
  }
  for (int code = 1; code <= GNX_IO::kMaxCode; ++code) {
    const char* text = GNX_IO::code2obs(static_cast<unsigned char>(code));
    if (text != nullptr && text[0] != '\0') codes_[text] = code;
  }
}

int BoundaryNumbers::satellite(const SatName& name) const {
  const auto found = satellites_.find(name);
  return found == satellites_.end() ? 0 : found->second;
}

int BoundaryNumbers::code(const std::string& signal) const {
  const auto found = codes_.find(signal);
  return found == codes_.end() ? 0 : found->second;
}

void matchEarthRotation(BroadcastEph& eph) {
  constexpr double kExcess = 7.292115e-5 - 7.2921151467e-5;  // rad/s
  if (eph.sat[0] != 'J') return;
  eph.omegaDot += kExcess;
  eph.omega0 += kExcess * secondsOfWeek(eph.toe, nullptr);
}

GNX_IO::eph_entry_t toBoundary(const BroadcastEph& given, const BoundaryNumbers& numbers) {
  BroadcastEph eph = given;
  matchEarthRotation(eph);
  GNX_IO::eph_entry_t e{};
  e.sat = numbers.satellite(eph.sat);
  e.iode = eph.iode;
  e.iodc = eph.iodc;
  e.sva = eph.accuracy;
  e.svh = eph.health;
  e.code = eph.code;
  e.flag = eph.l2flag;
  e.toe = toBoundaryTime(eph.toe);
  e.toc = toBoundaryTime(eph.toc);
  e.A = eph.sqrtA * eph.sqrtA;
  e.e = eph.e;
  e.i0 = eph.i0;
  e.OMG0 = eph.omega0;
  e.omg = eph.omega;
  e.M0 = eph.m0;
  e.deln = eph.deltaN;
  e.OMGd = eph.omegaDot;
  e.idot = eph.idot;
  e.crc = eph.crc;
  e.crs = eph.crs;
  e.cuc = eph.cuc;
  e.cus = eph.cus;
  e.cic = eph.cic;
  e.cis = eph.cis;
  std::copy(eph.af.begin(), eph.af.end(), e.af);
  std::copy(std::begin(eph.tgd), std::end(eph.tgd), e.tgd);
  return e;
}

GNX_IO::geph_entry_t toBoundary(const GlonassEph& eph) {
  GNX_IO::geph_entry_t g{};
  g.frq = eph.channel;
  g.svh = eph.health;
  g.age = eph.age;
  g.toe = toBoundaryTime(eph.toe);
  g.tof = toBoundaryTime(eph.frame);
  std::copy(eph.position.begin(), eph.position.end(), g.pos);
  std::copy(eph.velocity.begin(), eph.velocity.end(), g.vel);
  std::copy(eph.acceleration.begin(), eph.acceleration.end(), g.acc);
  g.taun = -eph.tau;
  g.gamn = eph.gamma;
  return g;
}

double clockCorrection(double clock, const BroadcastEph& eph, const GpsTime& t) {
  return kLightSpeed * (clock - broadcastClock(eph, t));
}

float boundaryCodeBias(double bias_m) {
  constexpr double kReference_m = 1e-9;  // survives the boundary's 32-bit float
  return static_cast<float>(bias_m == 0.0 ? kReference_m : bias_m);
}

GNX_IO::sta_t stationRecord(const RunSettings& settings, const ObsHeader& header) {
  const auto copyText = [](char* to, std::size_t size, const std::string& from) {
    to[from.copy(to, size - 1)] = '\0';
  };
  GNX_IO::sta_t sta{};
  copyText(sta.antdes, sizeof sta.antdes, settings.antenna.empty() ? header.antenna : settings.antenna);
  copyText(sta.rectype, sizeof sta.rectype, settings.receiver.empty() ? header.receiver : settings.receiver);
  const Vector3& position = settings.headerPosition ? header.position : settings.position_m;
  std::copy(position.begin(), position.end(), sta.pos);
  const Vector3 fromHeader{header.antennaDelta[1], header.antennaDelta[2], header.antennaDelta[0]};
  const Vector3 delta = settings.antennaDelta_m.value_or(fromHeader);
  std::copy(delta.begin(), delta.end(), sta.del);
  return sta;
}

}  // namespace gnx
