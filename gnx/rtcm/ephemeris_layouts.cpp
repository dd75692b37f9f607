// The fields of the broadcast messages in the order of transmission (RTCM 10403.3, 3.5.10 to 3.5.16).

#include "rtcm/ephemeris_layouts.h"

#include <algorithm>
#include <array>

namespace gnx::rtcm {

namespace {

using enum Element;
constexpr Form kComplement = Form::complement, kMagnitude = Form::magnitude;

/// 2 to a negative power.
constexpr double half(int power) {
  double value = 1.0;
  for (int p = 0; p < power; ++p) value /= 2.0;
  return value;
}
/// Semicircles with the pi of the systems' documents.
constexpr double circle(int power) { return 3.1415926535898 * half(power); }

using F = Field<Element>;

/// Parts of a message, one behind the other.
template <std::size_t... N>
constexpr auto joined(const std::array<F, N>&... parts) {
  std::array<F, (N + ...)> all{};
  auto* place = all.data();
  ((place = std::copy(parts.begin(), parts.end(), place)), ...);
  return all;
}

/// The elements of the orbit in their common order. The systems differ in the harmonic terms, of the radius
/// in metres and of angles, and in the time of ephemeris.
constexpr auto orbit(int termBits, double radius_m, double angle_rad, int timeBits, double time_s) {
  return std::to_array<F>({{crs, termBits, kComplement, radius_m},
                           {deltaN, 16, kComplement, circle(43)},
                           {m0, 32, kComplement, circle(31)},
                           {cuc, termBits, kComplement, angle_rad},
                           {e, 32, Form::natural, half(33)},
                           {cus, termBits, kComplement, angle_rad},
                           {sqrtA, 32, Form::natural, half(19)},
                           {toe, timeBits, Form::natural, time_s},
                           {cic, termBits, kComplement, angle_rad},
                           {omega0, 32, kComplement, circle(31)},
                           {cis, termBits, kComplement, angle_rad},
                           {i0, 32, kComplement, circle(31)},
                           {crc, termBits, kComplement, radius_m},
                           {omega, 32, kComplement, circle(31)},
                           {omegaDot, 24, kComplement, circle(43)}});
}

constexpr F kIdot{idot, 14, kComplement, circle(43)};

// QZSS sends what GPS sends, in another order around clock and orbit.
constexpr auto kGpsClock = std::to_array<F>({{toc, 16, Form::natural, 16.0},
                                             {af2, 8, kComplement, half(55)},
                                             {af1, 16, kComplement, half(43)},
                                             {af0, 22, kComplement, half(31)}});
constexpr auto kGpsOrbit = orbit(16, half(5), half(29), 16, 16.0);

constexpr auto kGps =
    joined(std::to_array<F>(
               {{message, 12}, {satellite, 6}, {week, 10}, {accuracy, 4}, {l2Codes, 2}, kIdot, {iode, 8}}),
           kGpsClock, std::to_array<F>({{iodc, 10}}), kGpsOrbit,
           std::to_array<F>({{tgd, 8, kComplement, half(31)}, {health, 6}, {l2Data, 1}, {fit, 1}}));

constexpr auto kQzss = joined(std::to_array<F>({{message, 12}, {satellite, 4}}), kGpsClock,
                              std::to_array<F>({{iode, 8}}), kGpsOrbit,
                              std::to_array<F>({kIdot,
                                                {l2Codes, 2},
                                                {week, 10},
                                                {accuracy, 4},
                                                {health, 6},
                                                {tgd, 8, kComplement, half(31)},
                                                {iodc, 10},
                                                {fit, 1}}));

constexpr auto kBeidou =
    joined(std::to_array<F>({{message, 12},
                             {satellite, 6},
                             {week, 13},
                             {accuracy, 4},
                             kIdot,
                             {iode, 5},
                             {toc, 17, Form::natural, 8.0},
                             {af2, 11, kComplement, half(66)},
                             {af1, 22, kComplement, half(50)},
                             {af0, 24, kComplement, half(33)},
                             {iodc, 5}}),
           orbit(18, half(6), half(31), 17, 8.0),
           std::to_array<F>({{tgd, 10, kComplement, 1e-10}, {tgd2, 10, kComplement, 1e-10}, {health, 1}}));

/// What F/NAV and I/NAV have in common: all but the end.
constexpr auto kGalileo =
    joined(std::to_array<F>({{message, 12},
                             {satellite, 6},
                             {week, 12},
                             {iode, 10},
                             {accuracy, 8},
                             kIdot,
                             {toc, 14, Form::natural, 60.0},
                             {af2, 6, kComplement, half(59)},
                             {af1, 21, kComplement, half(46)},
                             {af0, 31, kComplement, half(34)}}),
           orbit(16, half(5), half(29), 14, 60.0), std::to_array<F>({{tgd, 10, kComplement, half(32)}}));
constexpr auto kFnav = joined(kGalileo, std::to_array<F>({{health, 2}, {validity, 1}, {reserved, 7}}));
constexpr auto kInav = joined(kGalileo, std::to_array<F>({{tgd2, 10, kComplement, half(32)},
                                                          {health, 2},
                                                          {validity, 1},
                                                          {health2, 2},
                                                          {validity2, 1},
                                                          {reserved, 2}}));

constexpr int kGalileoWeekZero = 1024, kBeidouWeekZero = 1356;
constexpr int kFnavSources = 0x102, kInavSources = 0x205;  // E5a with its clock; E1-B, E5b with theirs
constexpr KeplerLayout kLayouts[] = {{1019, 'G', kGps, 10, 0, 0},
                                     {1042, 'C', kBeidou, 13, kBeidouWeekZero, 0},
                                     {1044, 'J', kQzss, 10, 0, 0},
                                     {1045, 'E', kFnav, 12, kGalileoWeekZero, kFnavSources},
                                     {1046, 'E', kInav, 12, kGalileoWeekZero, kInavSources}};

using G = GlonassElement;
constexpr double kVelocity = half(20) * 1e3, kPosition = half(11) * 1e3, kAcceleration = half(30) * 1e3;
constexpr Field<G> kGlonass[] = {
    {G::message, 12},
    {G::slot, 6},
    {G::channel, 5},
    {G::almanacHealth, 1},
    {G::almanacGiven, 1},
    {G::p1, 2},
    {G::frameHour, 5},
    {G::frameMinute, 6},
    {G::frameHalf, 1},
    {G::health, 1},
    {G::p2, 1},
    {G::tb, 7},
    {G::vx, 24, kMagnitude, kVelocity},
    {G::x, 27, kMagnitude, kPosition},
    {G::ax, 5, kMagnitude, kAcceleration},
    {G::vy, 24, kMagnitude, kVelocity},
    {G::y, 27, kMagnitude, kPosition},
    {G::ay, 5, kMagnitude, kAcceleration},
    {G::vz, 24, kMagnitude, kVelocity},
    {G::z, 27, kMagnitude, kPosition},
    {G::az, 5, kMagnitude, kAcceleration},
    {G::p3, 1},
    {G::gamma, 11, kMagnitude, half(40)},
    {G::p, 2},
    {G::lineHealth, 1},
    {G::tau, 22, kMagnitude, half(30)},
    {G::deltaTau, 5, kMagnitude, half(30)},
    {G::age, 5},
    {G::p4, 1},
    {G::accuracy, 4},
    {G::day, 11},
    {G::type, 2},
    {G::additional, 1},
    {G::almanacDay, 11},
    {G::tauC, 32, kMagnitude, half(31)},
    {G::fourYears, 5},
    {G::tauGps, 22, kMagnitude, half(30)},
    {G::lineHealth5, 1},
    {G::reserved, 7},
};

}  // namespace

const KeplerLayout* keplerLayout(int message) {
  for (const KeplerLayout& layout : kLayouts) {
    if (layout.message == message) return &layout;
  }
  return nullptr;
}

std::span<const Field<GlonassElement>> glonassLayout() { return kGlonass; }

}  // namespace gnx::rtcm
