#pragma once
/// \file records.h
/// What the readers of files and streams deliver: plain values, no knowledge of the engine.
/// Times are GPS time; where a format counts in another scale the reader has converted.

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace gnx {

/// A point in time, GPS time scale: whole seconds since 1970-01-01 00:00:00 of that scale and a
/// fraction in [0, 1).
struct GpsTime {
  std::int64_t seconds = 0;
  double fraction = 0.0;

  auto operator<=>(const GpsTime&) const = default;
};

/// Calendar reading of GPS time.
struct Calendar {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double second = 0.0;
};

GpsTime toGpsTime(const Calendar& c);
Calendar toCalendar(const GpsTime& t);
GpsTime fromWeek(int week, double secondsOfWeek);
/// Seconds of GPS week; the week goes to `*week` when not null.
double secondsOfWeek(const GpsTime& t, int* week);
double operator-(const GpsTime& a, const GpsTime& b);
GpsTime operator+(const GpsTime& t, double seconds);
int modifiedJulianDay(const GpsTime& t);
double secondsOfDay(const GpsTime& t);
/// "2020-06-25 00:00:30.000"
std::string formatTime(const GpsTime& t, int decimals = 0);

/// Satellites are three-character names such as "G05"; QZSS counts from J01.
using SatName = std::string;

/// One signal of a satellite in an epoch. Absent values are 0.
struct SignalObs {
  std::array<char, 3> code{};  ///< band digit and attribute, "1C", NUL-terminated
  double phase = 0.0;          ///< cycles
  double range = 0.0;          ///< pseudorange, m
  double doppler = 0.0;        ///< Hz
  double snr = 0.0;            ///< dB-Hz
  int lli = 0;                 ///< loss-of-lock indicator of the phase
};

struct SatObs {
  SatName sat;
  std::vector<SignalObs> signals;
};

struct ObsEpoch {
  GpsTime time;
  std::vector<SatObs> sats;
};

struct ObsHeader {
  double version = 0.0;
  std::string marker, receiver, antenna;           ///< antenna: 20 characters with radome
  std::array<double, 3> position{};                ///< approximate, m
  std::array<double, 3> antennaDelta{};            ///< height, east, north, m
  std::map<char, std::vector<std::string>> types;  ///< "C1C", ... by system letter
  double interval = 0.0;                           ///< s, 0 when not given
};

/// Keplerian broadcast message (GPS, Galileo, BeiDou, QZSS). Radians, metres, seconds.
struct BroadcastEph {
  SatName sat;
  GpsTime toc, toe, transmission;  ///< BeiDou too in GPS time (BDT + 14 s)
  std::array<double, 3> af{};
  int iode = 0, iodc = 0, health = 0, accuracy = 0;
  int code = 0;  ///< GPS: codes on L2; Galileo: data source bits
  int l2flag = 0;
  double crs = 0, deltaN = 0, m0 = 0, cuc = 0, e = 0, cus = 0, sqrtA = 0, cic = 0, omega0 = 0, cis = 0,
         i0 = 0, crc = 0, omega = 0, omegaDot = 0, idot = 0;
  double tgd[2] = {0, 0};  ///< GPS, QZSS: TGD; Galileo: E5a/E1, E5b/E1; BeiDou: TGD1, TGD2
  long line = 0;           ///< line in the file, for messages
};

/// GLONASS broadcast message. Metres, seconds, PZ-90.
struct GlonassEph {
  SatName sat;
  GpsTime toe, frame;
  double tau = 0, gamma = 0;  ///< tau: clock bias with the sign of the clock value (-TauN)
  std::array<double, 3> position{}, velocity{}, acceleration{};
  int health = 0, channel = 0, age = 0;
  long line = 0;
};

/// One satellite of a correction block. Signs of RTCM SSR: position = broadcast -
/// (radial, along, cross), clock = broadcast + c0; biases are added to the observation.
struct SsrOrbit {
  SatName sat;
  int iod = 0;
  std::array<double, 3> delta{};  ///< radial, along-track, cross-track, m
  std::array<double, 3> rate{};   ///< m/s
};
struct SsrClock {
  SatName sat;
  int iod = 0;
  std::array<double, 3> c{};  ///< m, m/s, m/s^2
};
struct SsrBias {
  std::string signal;  ///< "1C"
  double value = 0.0;  ///< m
  int integerIndicator = 0, wideLaneIndicator = 0, discontinuity = 0;
};
struct SsrSatBias {
  SatName sat;
  double yaw = 0.0, yawRate = 0.0;  ///< degrees, degrees/s; phase biases only
  std::vector<SsrBias> biases;
};

enum class SsrKind { orbit, clock, codeBias, phaseBias };

/// One block of a correction stream.
struct SsrBlock {
  SsrKind kind = SsrKind::orbit;
  GpsTime time;
  int interval = 0;  ///< update interval, s
  std::string source;
  std::vector<SsrOrbit> orbits;
  std::vector<SsrClock> clocks;
  std::vector<SsrSatBias> biases;
  long line = 0;
};

}  // namespace gnx
