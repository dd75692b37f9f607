#pragma once
// Layouts of the broadcast messages.

#include <numbers>
#include <span>

#include "rtcm/layout.h"

namespace gnx::rtcm {

/// Elements of a Keplerian message. Angles become radians by their scales.
enum class Element {
  message,
  satellite,
  week,
  accuracy,
  l2Codes,
  idot,
  iode,
  toc,
  af2,
  af1,
  af0,
  iodc,
  crs,
  deltaN,
  m0,
  cuc,
  e,
  cus,
  sqrtA,
  toe,
  cic,
  omega0,
  cis,
  i0,
  crc,
  omega,
  omegaDot,
  tgd,
  tgd2,
  health,
  validity,
  health2,
  validity2,
  l2Data,
  fit,
  reserved,
  count
};

/// A Keplerian message and how its numbers become an ephemeris.
struct KeplerLayout {
  int message;
  char system;
  std::span<const Field<Element>> fields;
  int weekBits;
  int weekZero;     ///< GPS week of its week 0
  int dataSources;  ///< Galileo: the data source bits of RINEX
};
/// Null for another message.
const KeplerLayout* keplerLayout(int message);

/// Elements of a GLONASS message, metres.
enum class GlonassElement {
  message,
  slot,
  channel,
  almanacHealth,
  almanacGiven,
  p1,
  frameHour,
  frameMinute,
  frameHalf,
  health,
  p2,
  tb,
  vx,
  x,
  ax,
  vy,
  y,
  ay,
  vz,
  z,
  az,
  p3,
  gamma,
  p,
  lineHealth,
  tau,
  deltaTau,
  age,
  p4,
  accuracy,
  day,
  type,
  additional,
  almanacDay,
  tauC,
  fourYears,
  tauGps,
  lineHealth5,
  reserved,
  count
};
std::span<const Field<GlonassElement>> glonassLayout();

}  // namespace gnx::rtcm
