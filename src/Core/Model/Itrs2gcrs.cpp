/// \file Itrs2gcrs.cpp
/// References
/// - Petit, Luzum (eds.), IERS Conventions (2010), IERS Technical Note 36, chapters 5 and 8.
/// - Yoder et al. 1981, Wahr & Bergen 1986, Kantha et al. 1998: zonal tides (table 8.1).

#include "Core/Model/Itrs2gcrs.h"

#include <erfa.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "Common/ComTime.h"
#include "Common/Constants.h"
#include "Common/Fatal.h"
#include "Common/Taiutc.h"
#include "Config/Configuration.h"

namespace tarvio {
namespace {

enum Conventions { kIers2010, kIers2003, kIers1996 };

constexpr double kArcsecToRad = 4.84813681109536e-06;
constexpr double kOmega = 7.2921151467e-5;  // rad/s
constexpr double kMjdZero = 2400000.5;      // Julian date of MJD 0
constexpr double kGpsToTai_s = 19.0;
constexpr double kTaiToTt_s = 32.184;
constexpr double kMicro = 1.0e-6;
constexpr double kNode_s = 600.0;

int s_model(const char* conv) {
  if (std::strcmp(conv, "IERS2010") == 0) return kIers2010;
  if (std::strcmp(conv, "IERS2003") == 0) return kIers2003;
  if (std::strcmp(conv, "IERS1996") == 0) return kIers1996;
  s_fatal(__func__, __LINE__, "***ERROR(itrs2gcrs):%s,unknown conventions\n", conv);
}

/// Earth rotation angle and sidereal time at (UT1, TT).
double s_rotationAngle(int model, int mjdUt1, double dayUt1, int mjdTt, double dayTt, double* sidereal) {
  const double ut1 = kMjdZero + mjdUt1, tt = kMjdZero + mjdTt;
  if (model == kIers1996) return *sidereal = eraGst94(ut1, dayUt1);
  *sidereal = model == kIers2010 ? eraGmst06(ut1, dayUt1, tt, dayTt) : eraGmst00(ut1, dayUt1, tt, dayTt);
  return eraEra00(ut1, dayUt1);
}

}  // namespace

Itrs2gcrs& Itrs2gcrs::s_getInstance() {
  static Itrs2gcrs s_Instance;
  return s_Instance;
}

double Itrs2gcrs::s_zonalCenturies(int mjdTT, double sodTT) {
  return (mjdTT + sodTT / kDay - 51545.0) / 36525.0;
}

void Itrs2gcrs::itrs2gcrs(const char* conv, int /*flag*/, int mjd, double sod, const double* eop,
                          double R[3][3], double Rdot[3][3], double /*dpsi*/, double /*deps*/, int* mjd_ut1,
                          double* sod_ut1, double* gast, double* xp, double* yp) {
  const int model = s_model(conv);
  const SlowTerms slow = m_slowTerms(model, mjd, sod);
  const double poleX = eop[0] + slow.xp, poleY = eop[1] + slow.yp;

  int mjdTt, mjdUt1;
  double sodTt, sodUt1;
  timinc(mjd, sod, kGpsToTai_s + kTaiToTt_s, &mjdTt, &sodTt);
  const int leap = Taiutc::s_getInstance().m_getTaiutc(mjd);
  timinc(mjd, sod, kGpsToTai_s - leap + eop[2] + slow.dut1, &mjdUt1, &sodUt1);

  double sidereal;
  const double angle = s_rotationAngle(model, mjdUt1, sodUt1 / kDay, mjdTt, sodTt / kDay, &sidereal);

  double pole[3][3];  // terrestrial to the intermediate pole
  eraIr(pole);
  eraRx(poleY * kArcsecToRad, pole);
  eraRy(poleX * kArcsecToRad, pole);
  eraRz(-slow.sp, pole);

  double inertial[3][3];
  eraTr(const_cast<double(*)[3]>(slow.C), inertial);
  double spin[3][3];
  eraIr(spin);
  eraRz(-angle, spin);
  const double s = std::sin(angle), c = std::cos(angle);
  double spinRate[3][3] = {{-kOmega * s, -kOmega * c, 0.0}, {kOmega * c, -kOmega * s, 0.0}, {0.0, 0.0, 0.0}};

  double turned[3][3];
  eraRxr(spin, pole, turned);
  eraRxr(inertial, turned, R);
  eraRxr(spinRate, pole, turned);
  eraRxr(inertial, turned, Rdot);

  if (mjd_ut1) *mjd_ut1 = mjdUt1;
  if (sod_ut1) *sod_ut1 = sodUt1;
  if (gast) *gast = sidereal;
  if (xp) *xp = poleX;
  if (yp) *yp = poleY;
}

/// A polynomial through five nodes: the fastest terms, tides of half a day, are 3e-4 arcsec and followed to
/// 1e-10.
Itrs2gcrs::SlowTerms Itrs2gcrs::m_slowTerms(int model, int mjd, double sod) {
  const long nearest = std::lround(sod / kNode_s);
  const double t = sod / kNode_s - static_cast<double>(nearest);
  if (t == 0.0) return m_nodeTerms(model, mjd, nearest);
  const double outer = t * (t * t - 1.0) / 24.0, inner = t * (t * t - 4.0) / 6.0;
  const double weights[5] = {outer * (t - 2.0), -inner * (t - 1.0), (t * t - 1.0) * (t * t - 4.0) / 4.0,
                             -inner * (t + 1.0), outer * (t + 2.0)};
  SlowTerms sum;
  for (int k = 0; k < 5; ++k) {
    const SlowTerms& node = m_nodeTerms(model, mjd, nearest - 2 + k);
    const double w = weights[k];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) sum.C[i][j] += w * node.C[i][j];
    sum.sp += w * node.sp;
    sum.xp += w * node.xp;
    sum.yp += w * node.yp;
    sum.dut1 += w * node.dut1;
  }
  return sum;
}

const Itrs2gcrs::SlowTerms& Itrs2gcrs::m_nodeTerms(int model, int mjd, long number) {
  for (const Node& kept : m_nodes)
    if (kept.model == model && kept.mjd == mjd && kept.number == number) return kept.terms;
  Node& node = m_nodes[m_nextNode];
  m_nextNode = (m_nextNode + 1) % kNodesKept;
  node = {model, mjd, number, m_sumSlowTerms(model, mjd, static_cast<double>(number) * kNode_s)};
  return node.terms;
}

Itrs2gcrs::SlowTerms Itrs2gcrs::m_sumSlowTerms(int model, int mjd, double sod) {
  SlowTerms slow;
  const int leap = Taiutc::s_getInstance().m_getTaiutc(mjd);
  int mjdTt, mjdUtc;
  double sodTt, sodUtc;
  timinc(mjd, sod, kGpsToTai_s + kTaiToTt_s, &mjdTt, &sodTt);
  timinc(mjd, sod, kGpsToTai_s - leap, &mjdUtc, &sodUtc);

  // The libration in UT1, 3.5 microseconds at most, is left out: a turn about the axis of rotation
  // cancels in a model whose receiver, satellites and result are all Earth-fixed.
  double zonal, unusedLod, unusedOmega, ocean[3], libration[2];
  m_sumZonal(model, s_zonalCenturies(mjdTt, sodTt), &zonal, &unusedLod, &unusedOmega);
  ORTHO_EOP(mjdUtc + sodUtc / kDay, ocean);
  PMSDNUT2(mjdUtc + sodUtc / kDay, libration);
  slow.xp = (ocean[0] + libration[0]) * kMicro;
  slow.yp = (ocean[1] + libration[1]) * kMicro;
  slow.dut1 = ocean[2] * kMicro + zonal;

  const double tt = kMjdZero + mjdTt, day = sodTt / kDay;
  switch (model) {
    case kIers2010:
      eraC2i06a(tt, day, slow.C);
      break;
    case kIers2003:
      eraC2i00a(tt, day, slow.C);
      break;
    default:
      eraPnm80(tt, day, slow.C);
      break;
  }
  slow.sp = model == kIers1996 ? 0.0 : eraSp00(tt, day);
  return slow;
}

void Itrs2gcrs::RG_ZONT2(const char* conv, double T, double* dut, double* dlod, double* domega) {
  m_sumZonal(s_model(conv), T, dut, dlod, domega);
}

void Itrs2gcrs::m_sumZonal(int model, double T, double* dut, double* dlod, double* domega) {
  constexpr double kScale = 1.0e-4;
  double arg[5];
  FUNDARG(T, &arg[0], &arg[1], &arg[2], &arg[3], &arg[4]);
  double sum[3] = {};
  for (const ZonalTerm& term : m_zonalTable(model)) {
    double angle = 0.0;
    for (int k = 0; k < 5; ++k) angle += term.n[k] * arg[k];
    angle = std::fmod(angle, 2.0 * kPi);
    const double s = std::sin(angle), c = std::cos(angle);
    sum[0] += term.a[0] * s + term.a[1] * c;
    sum[1] += term.a[2] * c + term.a[3] * s;
    sum[2] += term.a[4] * c + term.a[5] * s;
  }
  *dut = sum[0] * kScale;
  *dlod = sum[1] * kScale;
  *domega = sum[2] * kScale;
}

const std::vector<Itrs2gcrs::ZonalTerm>& Itrs2gcrs::m_zonalTable(int model) {
  std::vector<ZonalTerm>& table = m_zonal[model == kIers2010 ? 0 : 1];
  if (table.empty()) m_readZonal(model == kIers2010 ? "ut1t10" : "ut1t03", table);
  return table;
}

void Itrs2gcrs::m_readZonal(const char* key, std::vector<ZonalTerm>& table) {
  const std::string& file = s_requiredTableFile(
      __func__, __LINE__, key, "***ERROR(readCommFil):file_table not exist config item %s\n");
  std::ifstream in(file);
  if (!in) s_fatal(__func__, __LINE__, "ERROR(RG_ZONT2):no such file %s\n", file.c_str());

  constexpr double kLargest = 1e5;  // in the units of the file; the node has the largest, below 2000
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (line.find("--------") != std::string::npos) break;
  }
  while (std::getline(in, line)) {
    ++number;
    ZonalTerm t;
    if (std::sscanf(line.c_str(), "%d%d%d%d%d%lf%lf%lf%lf%lf%lf", &t.n[0], &t.n[1], &t.n[2], &t.n[3], &t.n[4],
                    &t.a[0], &t.a[1], &t.a[2], &t.a[3], &t.a[4], &t.a[5]) != 11)
      continue;
    if (!std::ranges::all_of(t.a, [](double a) { return std::abs(a) < kLargest; }))
      s_fatal(__func__, __LINE__, "ERROR(RG_ZONT2):amplitude out of range in %s, line %d\n", file.c_str(),
              number);
    table.push_back(t);
  }
  if (table.empty())
    s_fatal(__func__, __LINE__, "ERROR(RG_ZONT2):no term of the zonal tides in %s\n", file.c_str());
}

}  // namespace tarvio
