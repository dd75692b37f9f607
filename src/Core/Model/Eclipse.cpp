// Turns nominal body axes by the yaw of the block's law near noon and midnight.

#include "Core/Model/Eclipse.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

#include "Common/Com.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

/// Attitude of a block.
struct BlockLaw {
  std::string_view name;
  double sign;  ///< of the body x axis against the Sun direction
  std::variant<KoubaBlock, IovBlock, CosineBlock, FrozenBetaBlock> law;
  bool staysNominal = false;  ///< in rot_scfix2j2000: the law serves callers of yawatt alone
};

constexpr double kRateByPrn[32] = {0.1211, 0.1339, 0.123,  0.1233, 0.118,  0.1266, 0.1269, 0.1033,
                                   0.1278, 0.0978, 0.2,    0.199,  0.2,    0.0815, 0.1303, 0.0838,
                                   0.1401, 0.1069, 0.098,  0.103,  0.1366, 0.1025, 0.114,  0.1089,
                                   0.1001, 0.1227, 0.1194, 0.126,  0.1228, 0.1165, 0.0969, 0.114};

constexpr KoubaBlock kIia{KoubaKind::iia, 0.0, 193.25, 0.5};
constexpr KoubaBlock kIir{KoubaKind::iir, 0.2, 193.25, 0.0};
constexpr KoubaBlock kIif{KoubaKind::iif, 0.11, 193.25, -0.5};
constexpr KoubaBlock kGlonass{KoubaKind::glonass, 0.25, 194.2, 0.0};
constexpr CosineBlock kFoc{4.1, 10.0, 0.0011108884913683852};      // 2 pi / 5656 s
constexpr CosineBlock kInclined{3.0, 6.0, 0.0010946315866166526};  // 2 pi / 5740 s
constexpr CosineBlock kMedium{3.0, 6.0, 0.0020333933032943645};    // 2 pi / 3090 s

constexpr BlockLaw kLaws[] = {
    {"BLOCK I", 1.0, kIia, true},
    {"BLOCK II", 1.0, kIia, true},
    {"BLOCK IIA", 1.0, kIia},
    {"BLOCK IIR-A", -1.0, kIir},
    {"BLOCK IIR-B", -1.0, kIir},
    {"BLOCK IIR-M", -1.0, kIir},
    {"BLOCK IIIA", -1.0, kIir},
    {"BLOCK IIF", 1.0, kIif},
    {"GLONASS-M", 1.0, kGlonass},
    {"GLONASS-K", 1.0, kGlonass, true},
    {"GALILEO-1", 1.0, IovBlock{}},
    {"GALILEO-2", 1.0, kFoc},
    {"BEIDOU-2I", 1.0, kInclined, true},
    {"BEIDOU-2M", 1.0, kMedium, true},
    {"BEIDOU-3I-SECM", 1.0, kInclined},
    {"BEIDOU-3I-CAST", 1.0, kInclined},
    {"BEIDOU-3IS-SECM", 1.0, kInclined},
    {"BEIDOU-3IS-CAST", 1.0, kInclined},
    {"BEIDOU-3I", 1.0, kInclined},
    {"BEIDOU-3M-SECM", 1.0, kMedium},
    {"BEIDOU-3M-CAST", 1.0, kMedium},
    {"BEIDOU-3MS-SECM", 1.0, kMedium},
    {"BEIDOU-3MS-CAST", 1.0, kMedium},
};

/// BDS-3 as its makers and observers describe it, with the word "BDS3" in the yaw model.
constexpr CosineBlock kCastInclined{3.0, 6.0, 0.0010946315866166526, true};
constexpr CosineBlock kCastMedium{3.0, 6.0, 0.0020333933032943645, true};
constexpr BlockLaw kBds3Laws[] = {
    {"BEIDOU-3I", 1.0, kCastInclined},           {"BEIDOU-3I-CAST", 1.0, kCastInclined},
    {"BEIDOU-3IS-CAST", 1.0, kCastInclined},     {"BEIDOU-3M-CAST", 1.0, kCastMedium},
    {"BEIDOU-3MS-CAST", 1.0, kCastMedium},       {"BEIDOU-3M-SECM", 1.0, FrozenBetaBlock{}},
    {"BEIDOU-3MS-SECM", 1.0, FrozenBetaBlock{}},
};

const BlockLaw* lawOf(std::string_view block) {
  const auto among = [&](std::span<const BlockLaw> laws) {
    const auto found = std::ranges::find(laws, block, &BlockLaw::name);
    return found == laws.end() ? nullptr : &*found;
  };
  if (s_contains(s_config().m_yawmodel, "BDS3"))
    if (const BlockLaw* law = among(kBds3Laws)) return law;
  return among(kLaws);
}

bool isGeostationary(std::string_view block) {
  return block == "BEIDOU-2G" || block == "BEIDOU-3G-SECM" || block == "BEIDOU-3G-CAST";
}

/// Yaw rate and bias of the early blocks depend on the satellite.
KoubaBlock koubaOf(KoubaBlock block, const char* cprn) {
  const int prn = std::atoi(cprn + 1);
  if (block.kind == KoubaKind::iia) block.maxRate = kRateByPrn[std::clamp(prn, 1, 32) - 1];
  if (std::string_view(cprn) == "G23") block.bias = -0.5;
  return block;
}

/// The turn about z against the nominal yaw, deg; nothing outside of manoeuvres.
std::optional<double> turnOf(YawTurns& turns, const BlockLaw& block, const char* cprn,
                             const YawEpoch& epoch) {
  if (const auto* kouba = std::get_if<KoubaBlock>(&block.law))
    return turns.eclips(koubaOf(*kouba, cprn), epoch);
  if (const auto* cosine = std::get_if<CosineBlock>(&block.law)) return turns.eclips2(*cosine, epoch);
  if (const auto* frozen = std::get_if<FrozenBetaBlock>(&block.law)) return turns.frozenBeta(*frozen, epoch);
  return turns.eclips2(std::get<IovBlock>(block.law), epoch);
}

/// Whether the host has asked for nominal yaw of a satellite, whose attitude it knows better: the option
/// "-nominalyaw:G01G02", names of three characters.
bool fliesNominal(const char* cprn) {
  constexpr std::string_view kOption = "-nominalyaw:";
  const std::string_view options = s_config().m_pams, name(cprn);
  const std::size_t found = options.find(kOption);
  if (found == std::string_view::npos || name.size() != 3) return false;
  const std::string_view list = options.substr(found + kOption.size());
  for (std::size_t at = 0; at + 3 <= list.size() && list[at] != ' '; at += 3)
    if (list.substr(at, 3) == name) return true;
  return false;
}

YawEpoch geometryOf(double t, const double* xv, const double* sun) {
  YawEpoch e;
  double beta = 0.0, mu = 0.0;
  betau(xv, sun, &beta, &mu);
  const double radius = std::sqrt(dot(3, xv, xv));
  e.t = t;
  e.beta = beta * kRadToDeg;
  e.mu = mu * kRadToDeg;
  e.rate = std::sqrt(dot(3, xv + 3, xv + 3)) / radius * kRadToDeg;
  e.cosine = dot(3, xv, sun) / (radius * std::sqrt(dot(3, sun, sun)));
  return e;
}

}  // namespace

Eclipse& Eclipse::s_getInstance() {
  static Eclipse s_Instance;
  return s_Instance;
}

void Eclipse::m_reset() {
  m_started = false;
  for (YawTurns& turns : m_turns) turns.reset();
}

void Eclipse::rot_scfix2j2000(int mjd, double sod, const char* cprn, const char* block, const double* xv,
                              const double* sun, double* xscf, double* yscf, double* zscf) {
  double toSun[3], z[3];
  for (int i = 0; i < 3; ++i) {
    z[i] = -xv[i];
    toSun[i] = sun[i] - xv[i];
  }
  unit_vector(3, z, z, nullptr);
  unit_vector(3, toSun, toSun, nullptr);

  if (isGeostationary(block)) {
    double along[3];
    unit_vector(3, xv + 3, along, nullptr);
    std::copy(z, z + 3, zscf);
    cross(z, along, yscf);
    unit_vector(3, yscf, yscf, nullptr);
    cross(yscf, z, xscf);
    unit_vector(3, xscf, xscf, nullptr);
    return;
  }

  const double angle = std::acos(std::clamp(dot(3, z, toSun), -1.0, 1.0)) * kRadToDeg;
  if (angle < 1e-6 || angle > 179.999999) {
    Logtrace::m_logTrace(4, "[%s,%d]: scx/y no definition,previous epoch used!\n", __func__, __LINE__);
    std::printf("WARNING(rot_scfix2j2000):scx/y no definition,previous epoch used\n%d %lf\n", mjd, sod);
    return;
  }
  std::copy(z, z + 3, zscf);
  cross(z, toSun, yscf);
  unit_vector(3, yscf, yscf, nullptr);
  cross(yscf, z, xscf);
  unit_vector(3, xscf, xscf, nullptr);
  const BlockLaw* law = lawOf(block);
  if (law != nullptr && !law->staysNominal) m_yawattAt(mjd, sod, cprn, block, xv, sun, xscf, yscf, zscf);
}

void Eclipse::yawatt(double mjd, const char* cprn, const char* block, const double* xv, const double* sun,
                     double* xscf, double* yscf, double* zscf) {
  const int day = static_cast<int>(std::floor(mjd));
  m_yawattAt(day, (mjd - day) * kDay, cprn, block, xv, sun, xscf, yscf, zscf);
}

void Eclipse::m_yawattAt(int mjd, double sod, const char* cprn, const char* block, const double* xv,
                         const double* sun, double* xscf, double* yscf, const double* zscf) {
  const BlockLaw* law = lawOf(block);
  const int row = s_satRow(cprn);
  if (law == nullptr || row < 0) return;
  if (!m_started) {
    m_started = true;
    m_startMjd = mjd;
    m_startSod = sod;
  }
  const YawEpoch epoch = geometryOf(timdif(mjd, sod, m_startMjd, m_startSod), xv, sun);
  std::optional<double> turned;
  if (!fliesNominal(cprn)) turned = turnOf(m_turns[static_cast<std::size_t>(row)], *law, cprn, epoch);
  const double angle = turned.value_or(0.0) * kDegToRad;
  const double c = law->sign * std::cos(angle), s = law->sign * std::sin(angle);
  double x[3];
  for (int i = 0; i < 3; ++i) x[i] = c * xscf[i] + s * yscf[i];
  std::copy(x, x + 3, xscf);
  cross(zscf, xscf, yscf);
  unit_vector(3, yscf, yscf, nullptr);
}

bool YawAttitudeAdapter::m_quater2rot(int, double, const char*, double*, double*, double*) { return false; }

}  // namespace tarvio
