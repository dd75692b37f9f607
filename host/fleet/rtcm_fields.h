#pragma once
/// \file rtcm_fields.h
/// Members of decoded records that travel in frames.

#include "frames/frames.h"
#include "gnx/rtcm.h"

namespace gnx {

template <class Archive>
void fields(Archive& a, BroadcastEph& e) {
  a(e.sat, e.toc, e.toe, e.transmission, e.af, e.iode, e.iodc, e.health, e.accuracy, e.code, e.l2flag, e.crs,
    e.deltaN, e.m0, e.cuc, e.e, e.cus, e.sqrtA, e.cic, e.omega0, e.cis, e.i0, e.crc, e.omega, e.omegaDot,
    e.idot, e.tgd, e.line);
}
template <class Archive>
void fields(Archive& a, GlonassEph& e) {
  a(e.sat, e.toe, e.frame, e.tau, e.gamma, e.position, e.velocity, e.acceleration, e.health, e.channel, e.age,
    e.line);
}
template <class Archive>
void fields(Archive& a, SsrOrbit& o) {
  a(o.sat, o.iod, o.delta, o.rate);
}
template <class Archive>
void fields(Archive& a, SsrClock& c) {
  a(c.sat, c.iod, c.c);
}
template <class Archive>
void fields(Archive& a, SsrBias& b) {
  a(b.signal, b.value, b.integerIndicator, b.wideLaneIndicator, b.discontinuity);
}
template <class Archive>
void fields(Archive& a, SsrSatBias& b) {
  a(b.sat, b.yaw, b.yawRate, b.biases);
}
template <class Archive>
void fields(Archive& a, SsrBlock& b) {
  a(b.kind, b.time, b.interval, b.source, b.orbits, b.clocks, b.biases, b.line);
}
template <class Archive>
void fields(Archive& a, RtcmSsr& s) {
  a(s.block, s.provider, s.solution, s.issue, s.regional, s.dispersive, s.wideLane, s.more);
}
template <class Archive>
void fields(Archive& a, SatObs& s) {
  a(s.sat, s.signals);
}
template <class Archive>
void fields(Archive& a, RtcmEpoch& e) {
  a(e.station, e.epoch.time, e.epoch.sats, e.complete);
}
template <class Archive>
void fields(Archive& a, RtcmEquipment& e) {
  a(e.station, e.setup, e.antenna, e.antennaSerial, e.receiver, e.firmware, e.receiverSerial);
}

/// The kinds of records that stations use, in the order of RtcmRecord.
enum class TravellingRecord : std::uint8_t {
  epoch,
  message,
  glonass,
  corrections,
  position,
  equipment,
  none
};

inline TravellingRecord travellingKind(const RtcmRecord& record) {
  if (std::holds_alternative<RtcmEpoch>(record)) return TravellingRecord::epoch;
  if (std::holds_alternative<BroadcastEph>(record)) return TravellingRecord::message;
  if (std::holds_alternative<GlonassEph>(record)) return TravellingRecord::glonass;
  if (std::holds_alternative<RtcmSsr>(record)) return TravellingRecord::corrections;
  if (std::holds_alternative<RtcmPosition>(record)) return TravellingRecord::position;
  if (std::holds_alternative<RtcmEquipment>(record)) return TravellingRecord::equipment;
  return TravellingRecord::none;
}

/// Calls with the record as what it is, and makes it so before when `record` holds another kind.
template <class Call>
void withRecord(TravellingRecord kind, RtcmRecord& record, Call&& call) {
  const auto as = [&]<class T>(T*) {
    if (!std::holds_alternative<T>(record)) record.emplace<T>();
    call(std::get<T>(record));
  };
  switch (kind) {
    case TravellingRecord::epoch:
      return as(static_cast<RtcmEpoch*>(nullptr));
    case TravellingRecord::message:
      return as(static_cast<BroadcastEph*>(nullptr));
    case TravellingRecord::glonass:
      return as(static_cast<GlonassEph*>(nullptr));
    case TravellingRecord::corrections:
      return as(static_cast<RtcmSsr*>(nullptr));
    case TravellingRecord::position:
      return as(static_cast<RtcmPosition*>(nullptr));
    case TravellingRecord::equipment:
      return as(static_cast<RtcmEquipment*>(nullptr));
    case TravellingRecord::none:
      return;
  }
}

inline void fields(FrameWriter& out, RtcmRecord& record) {
  const TravellingRecord kind = travellingKind(record);
  out(kind);
  withRecord(kind, record, [&](auto& value) { out(value); });
}
inline void fields(FrameReader& in, RtcmRecord& record) {
  TravellingRecord kind{};
  in(kind);
  withRecord(kind, record, [&](auto& value) { in(value); });
}

}  // namespace gnx
