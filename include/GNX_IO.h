#pragma once
/// \file GNX_IO.h
/// Boundary records and companion functions.
///
/// The records are a wire format between the library and its host: little-endian, 8-byte aligned,
/// every offset that the library reads is asserted below. Fields called `reserved` are never read.
///
/// The companion functions are left undefined in libGNX_SDK. A host links libGNX_IO, which supplies
/// all of them, or brings its own under the same names.
///
/// Time scale: `gtime_t::time` counts whole seconds since 1970-01-01 00:00:00 of the companion's
/// time scale (GPS time for observations, ephemerides and corrections), without leap seconds.

#include <cstddef>
#include <cstdint>

namespace GNX_IO {

inline constexpr int kMaxSatellite = 207;  ///< satellite numbers run from 1 to this
inline constexpr int kMaxCode = 68;        ///< observation code numbers run from 1 to this
inline constexpr int kSignalSlots = 5;     ///< signals of one satellite in one epoch
inline constexpr int kConsumed = -999;     ///< a `mark_*` of this value means: nothing new

/// A point in time. Passed by value.
struct gtime_t {
  std::int64_t time;  ///< whole seconds
  double sec;         ///< fraction of a second
};
static_assert(sizeof(gtime_t) == 16);

/// The observations of one satellite, up to five signals.
struct obs_entry_t {
  gtime_t time;                     ///< not read: the epoch is an argument of GNX_inputObs
  std::uint8_t sat;                 ///< satellite number
  std::uint8_t rcv;                 ///< not read
  std::uint16_t SNR[kSignalSlots];  ///< carrier-to-noise density, 0.001 dB-Hz
  std::uint8_t LLI[kSignalSlots];   ///< not read
  std::uint8_t code[kSignalSlots];  ///< observation code number, argument of code2obs; 0 = empty slot
  double L[kSignalSlots];           ///< carrier phase, cycles
  double P[kSignalSlots];           ///< pseudorange, metres
  float D[kSignalSlots];            ///< Doppler, Hz
};
static_assert(offsetof(obs_entry_t, sat) == 16);
static_assert(offsetof(obs_entry_t, SNR) == 18);
static_assert(offsetof(obs_entry_t, LLI) == 28);
static_assert(offsetof(obs_entry_t, code) == 33);
static_assert(offsetof(obs_entry_t, L) == 40);
static_assert(offsetof(obs_entry_t, P) == 80);
static_assert(offsetof(obs_entry_t, D) == 120);
static_assert(sizeof(obs_entry_t) == 144);

/// One epoch of observations.
struct obs_t {
  std::int32_t n;     ///< entries in `data`
  obs_entry_t* data;  ///< not owned by the library
};
static_assert(offsetof(obs_t, data) == 8);

/// The station, read once at initialisation.
struct sta_t {
  char reserved[128];
  char antdes[128];   ///< antenna type, NUL-terminated
  char rectype[208];  ///< receiver type, NUL-terminated
  double pos[3];      ///< a-priori ECEF position, metres; all three non-zero means known
  double del[3];      ///< antenna reference point above the marker: east, north, up, metres
};
static_assert(offsetof(sta_t, antdes) == 128);
static_assert(offsetof(sta_t, rectype) == 256);
static_assert(offsetof(sta_t, pos) == 464);
static_assert(offsetof(sta_t, del) == 488);

/// A broadcast message of GPS, Galileo, BeiDou or QZSS. Angles in radians.
struct eph_entry_t {
  std::int32_t sat;   ///< not read
  std::int32_t iode;  ///< issue of data
  std::int32_t iodc;  ///< issue of data, clock
  std::int32_t sva;   ///< accuracy index
  std::int32_t svh;   ///< health
  std::int32_t reserved0;
  std::int32_t code;  ///< GPS: code on L2; Galileo: data source bits
  std::int32_t flag;  ///< L2 P data flag
  gtime_t toe;        ///< time of ephemeris; BeiDou: GPS time, moved to BDT in place by the library
  gtime_t toc;        ///< time of clock; likewise
  gtime_t reserved1;
  double A;  ///< semi-major axis, metres
  double e;  ///< eccentricity
  double i0, OMG0, omg, M0, deln, OMGd, idot;
  double crc, crs, cuc, cus, cic, cis;
  double reserved2[2];
  double af[3];   ///< clock polynomial, s, s/s, s/s^2
  double tgd[2];  ///< group delays, s
  double reserved3[6];
};
static_assert(offsetof(eph_entry_t, code) == 24);
static_assert(offsetof(eph_entry_t, toe) == 32);
static_assert(offsetof(eph_entry_t, toc) == 48);
static_assert(offsetof(eph_entry_t, A) == 80);
static_assert(offsetof(eph_entry_t, idot) == 144);
static_assert(offsetof(eph_entry_t, crc) == 152);
static_assert(offsetof(eph_entry_t, cis) == 192);
static_assert(offsetof(eph_entry_t, af) == 216);
static_assert(offsetof(eph_entry_t, tgd) == 240);
static_assert(sizeof(eph_entry_t) == 304);

/// A GLONASS broadcast message.
struct geph_entry_t {
  std::int32_t reserved0;
  std::int32_t iode;  ///< issue of data
  std::int32_t frq;   ///< frequency channel
  std::int32_t svh;   ///< health
  std::int32_t reserved1;
  std::int32_t age;  ///< age of data
  gtime_t toe;       ///< reference time, GPS time
  gtime_t tof;       ///< frame time, GPS time
  double pos[3];     ///< metres
  double vel[3];     ///< m/s
  double acc[3];     ///< m/s^2
  double taun;       ///< clock bias, s
  double gamn;       ///< relative frequency bias
  double reserved2;
};
static_assert(offsetof(geph_entry_t, toe) == 24);
static_assert(offsetof(geph_entry_t, tof) == 40);
static_assert(offsetof(geph_entry_t, pos) == 56);
static_assert(offsetof(geph_entry_t, taun) == 128);
static_assert(sizeof(geph_entry_t) == 152);

/// The host's tables of broadcast messages.
struct nav_t {
  char reserved[56];
  eph_entry_t* eph;    ///< element sat+off-1
  geph_entry_t* geph;  ///< element prn-1 of GLONASS
};
static_assert(offsetof(nav_t, eph) == 56);
static_assert(offsetof(nav_t, geph) == 64);

/// State-space corrections of one satellite; an array element, element k belongs to satellite k+1.
/// Orbit and clock have the signs of RTCM SSR: position = broadcast - (radial, along, cross),
/// clock = broadcast + dclk/c; biases are added to the observation.
/// The library sets `mark_*` to -999 and `update` to 0 as it consumes them.
struct ssr_t {
  gtime_t t0_orb, t0_clk;
  gtime_t reserved0[2];
  gtime_t t0_cbias, t0_pbias, t0_ifpb;
  char reserved1[56];
  std::int32_t mark_orb, mark_clk;
  std::int32_t reserved2[2];
  std::int32_t mark_cbias, mark_pbias, mark_ifpb;
  std::int32_t iod;      ///< issue of data of the broadcast message, all systems but BeiDou
  std::int32_t iod_bds;  ///< the same for BeiDou
  std::int32_t reserved3[3];
  double deph[3];   ///< radial, along-track, cross-track, metres
  double ddeph[3];  ///< their rates, m/s
  double dclk[3];   ///< clock polynomial: m, m/s, m/s^2
  double reserved4;
  double ifpb;             ///< inter-frequency clock term
  float cbias[kMaxCode];   ///< code bias of code number k at k-1, metres; 0 = none
  double pbias[kMaxCode];  ///< phase bias likewise, metres
  float stdpb[kMaxCode];   ///< its standard deviation; 0 = this code has no phase bias
  char reserved5[16];
  gtime_t t1_ifpb;
  std::uint8_t update;  ///< non-zero: new orbit or clock
};
static_assert(offsetof(ssr_t, t0_clk) == 16);
static_assert(offsetof(ssr_t, t0_cbias) == 64);
static_assert(offsetof(ssr_t, t0_pbias) == 80);
static_assert(offsetof(ssr_t, t0_ifpb) == 96);
static_assert(offsetof(ssr_t, mark_orb) == 168);
static_assert(offsetof(ssr_t, mark_clk) == 172);
static_assert(offsetof(ssr_t, mark_cbias) == 184);
static_assert(offsetof(ssr_t, mark_pbias) == 188);
static_assert(offsetof(ssr_t, mark_ifpb) == 192);
static_assert(offsetof(ssr_t, iod) == 196);
static_assert(offsetof(ssr_t, iod_bds) == 200);
static_assert(offsetof(ssr_t, deph) == 216);
static_assert(offsetof(ssr_t, ddeph) == 240);
static_assert(offsetof(ssr_t, dclk) == 264);
static_assert(offsetof(ssr_t, ifpb) == 296);
static_assert(offsetof(ssr_t, cbias) == 304);
static_assert(offsetof(ssr_t, pbias) == 576);
static_assert(offsetof(ssr_t, stdpb) == 1120);
static_assert(offsetof(ssr_t, t1_ifpb) == 1408);
static_assert(offsetof(ssr_t, update) == 1424);
static_assert(sizeof(ssr_t) == 1432);

/// Calendar year, month, day, hour, minute, second to time.
gtime_t epoch2time(const double* ep);
/// The reverse: six doubles.
void time2epoch(gtime_t t, double* ep);
/// Seconds of GPS week; the week goes to `*week` when it is not null.
double time2gpst(gtime_t t, int* week);
/// GPS time to UTC, leap seconds applied.
gtime_t gpst2utc(gtime_t t);
/// t1 - t2, seconds.
double timediff(gtime_t t1, gtime_t t2);
/// Printable time with n decimals of the second; for diagnostics, the buffer is per thread.
char* time_str(gtime_t t, int n);
/// Satellite number to a three-character identifier such as "G05"; "" for a number of no satellite.
/// The buffer holds at least 4 characters.
void satno2id(int sat, char* id);
/// Observation code number to a two-character code such as "1C"; "" for a number of no code.
char* code2obs(unsigned char code);
/// ECEF (metres) to geodetic latitude, longitude (radians) and ellipsoidal height (metres), WGS 84.
void ecef2pos(const double* r, double* pos);
/// The reverse.
void pos2ecef(const double* pos, double* r);
/// Degrees to degrees, minutes, seconds, seconds rounded to ndec decimals.
void deg2dms(double deg, double* dms, int ndec);
/// n x m matrix by malloc, column-major, to be released by free; null when n or m is not positive.
double* mat(int n, int m);
/// The same, zeroed.
double* zeros(int n, int m);
/// n x n identity.
double* eye(int n);
/// C := alpha op(A) op(B) + beta C with op(A) n x m, op(B) m x k, C n x k, column-major;
/// `tr` is two letters of N and T.
void matmul(const char* tr, int n, int k, int m, double alpha, const double* A, const double* B, double beta,
            double* C);
/// Integer least squares: the m best candidates of n float ambiguities `a` with covariance `Q`
/// (n x n) into the columns of F (n x m), their squared residuals, ascending, into s (m).
/// Returns 0 on success, non-zero on bad input or a search without end.
int lambda(int n, int m, const double* a, const double* Q, double* F, double* s);
/// Diagnostic output; may do nothing.
void trace(int level, const char* format, ...);
/// Millisecond tick count.
unsigned tickget();

}  // namespace GNX_IO
