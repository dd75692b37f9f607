// Joins halves of batches, chooses the one of an epoch and corrects broadcast orbits by it.

#include "Adapter/SsrOrbitClkAdapter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Common/ComFreq.h"
#include "Common/ComGeometry.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

constexpr double kMaxAge_s = 120.0;
constexpr double kSameTag_s = 0.01;
constexpr std::size_t kMaxRecords = 120;
constexpr double kMessageLife_s = 14400.0;  ///< of a broadcast message, for diagnostics
constexpr double kWeek_s = 604800.0;

double s_distance(int week, double sow, const SsrRecord& record) {
  return std::fabs((week - record.m_wk) * kWeek_s + sow - record.m_sow);
}

/// Rounds half away from zero by adding half a unit and cutting.
double s_roundCut(double x) { return std::trunc(x < 0.0 ? x - 0.5 : x + 0.5); }

/// The record of a tag, or a new one at the end.
SsrRecord& s_recordOf(std::list<SsrRecord>& records, int week, double sow, bool& found) {
  for (SsrRecord& record : records) {
    if (s_distance(week, sow, record) < kSameTag_s) {
      found = true;
      return record;
    }
  }
  found = false;
  return records.emplace_back();
}

void s_merge(std::list<SsrRecord>& records, const SSRORB& orb, int nsat) {
  bool found = false;
  SsrRecord& record = s_recordOf(records, orb.m_wk, orb.m_sow, found);
  record.m_wk = orb.m_wk;
  record.m_sow = orb.m_sow;
  for (int i = 0; i < (found ? nsat : kMaxSat); ++i) {
    if (found && orb.m_iod[i] == -1) continue;
    record.m_iodOrb[i] = orb.m_iod[i];
    std::copy(orb.m_dorb[i], orb.m_dorb[i] + 6, record.m_dorb[i]);
  }
}

void s_merge(std::list<SsrRecord>& records, const SSRCLK& clk, int nsat) {
  bool found = false;
  SsrRecord& record = s_recordOf(records, clk.m_wk, clk.m_sow, found);
  if (!found) {
    record.m_wk = clk.m_wk;
    record.m_sow = clk.m_sow;
  }
  for (int i = 0; i < (found ? nsat : kMaxSat); ++i) {
    if (found && clk.m_iod[i] == -1) continue;
    record.m_iodClk[i] = clk.m_iod[i];
    std::copy(clk.m_dclk[i], clk.m_dclk[i] + 3, record.m_dclk[i]);
    record.m_extra1[i] = clk.m_extra1[i];
    record.m_extra2[i] = clk.m_extra2[i];
  }
}

/// The record nearest to an epoch, null when none is within reach. \param age  of the last record looked
/// at, may be null
const SsrRecord* s_nearest(const std::list<SsrRecord>& records, int week, double sow, double* age) {
  const SsrRecord* nearest = nullptr;
  double best = kMaxAge_s;
  for (const SsrRecord& record : records) {
    const double distance = s_distance(week, sow, record);
    if (age != nullptr) *age = distance;
    if (distance < best) {
      best = distance;
      nearest = &record;
    }
  }
  return nearest;
}

/// Moves a broadcast state by corrections along its own axes: state = broadcast - (R, A, C) d,
/// the convention of RTCM SSR (RTCM 10403.3, 3.5.12.6).
void s_applyOrbit(const double* d, double* xv) {
  double along[3], crossTrack[3], radial[3], normal[3];
  unit_vector(3, xv + 3, along, nullptr);
  cross(xv, xv + 3, normal);
  unit_vector(3, normal, crossTrack, nullptr);
  cross(along, crossTrack, normal);
  unit_vector(3, normal, radial, nullptr);
  for (int i = 0; i < 3; ++i) {
    xv[i] -= radial[i] * d[0] + along[i] * d[1] + crossTrack[i] * d[2];
    xv[i + 3] -= radial[i] * d[3] + along[i] * d[4] + crossTrack[i] * d[5];
  }
}

}  // namespace

SsrOrbitClkAdapter::SsrOrbitClkAdapter() {
  m_orbtype = 3;
  m_clktype = 3;
}

void SsrOrbitClkAdapter::v_inputSsr(SSRORB* orb, SSRCLK* clk) {
  if (orb == nullptr && clk == nullptr) return;
  if (orb != nullptr) {
    Logtrace::m_logPrint("input ssr orb for %d %lf\n", orb->m_wk, orb->m_sow);
    Logtrace::m_logStatInfo("input ssr orb for %d %lf\n", orb->m_wk, orb->m_sow);
  }
  if (clk != nullptr) Logtrace::m_logPrint("input ssr clk for %d %lf\n", clk->m_wk, clk->m_sow);

  const int nsat = s_config().m_nsat;
  const std::lock_guard<std::mutex> lock(m_ssrMutex);
  if (orb != nullptr) s_merge(m_list, *orb, nsat);
  if (clk != nullptr) s_merge(m_list, *clk, nsat);
  while (m_list.size() > kMaxRecords) m_list.pop_front();
}

/// Requests of one epoch, at emission times too, share the record of its first request.
bool SsrOrbitClkAdapter::m_isCurrent(int mjd, double second) const {
  return std::fabs(second + s_roundCut((mjd - m_lastEpoch) * kDay)) <= 0.01;
}

bool SsrOrbitClkAdapter::m_acquire(int mjd, double sod) {
  const double second = s_roundCut(sod);
  if (m_isCurrent(mjd, second)) return true;

  int week = 0;
  double sow = 0.0;
  mjd2wksow(mjd, sod, &week, &sow);
  {
    const std::lock_guard<std::mutex> lock(m_ssrMutex);
    const SsrRecord* nearest = s_nearest(m_list, week, sow, &m_age);
    if (nearest == nullptr) return false;
    m_cur = *nearest;
  }
  m_lastEpoch = mjd + second / kDay;
  Logtrace::m_logtagTrace("DEBUG SSR", "[%d %9.1lf] acquire ssr for clock [%d %9.1lf]\n", week, sow,
                          m_cur.m_wk, m_cur.m_sow);
  return true;
}

double SsrOrbitClkAdapter::v_correctionAge(int mjd, double sod) const {
  if (!m_isCurrent(mjd, s_roundCut(sod))) return std::numeric_limits<double>::quiet_NaN();
  int week = 0;
  double sow = 0.0;
  mjd2wksow(mjd, sod, &week, &sow);
  return (week - m_cur.m_wk) * kWeek_s + sow - m_cur.m_sow;
}

ProductGap SsrOrbitClkAdapter::v_gap(const char* cprn, int mjd, double sod) {
  int week = 0;
  double sow = 0.0;
  mjd2wksow(mjd, sod, &week, &sow);
  const int isat = s_satRow(cprn);
  int iod = -1;
  bool clock = false;
  {
    const std::lock_guard<std::mutex> lock(m_ssrMutex);
    const SsrRecord* nearest = s_nearest(m_list, week, sow, nullptr);
    if (nearest == nullptr || isat < 0) return ProductGap::correction;
    iod = nearest->m_iodOrb[isat];
    clock = nearest->m_iodClk[isat] != -1;
  }
  // A source without a message to refer to leaves the satellite out: that comes first.
  const auto gap = [=](const auto& lists) {
    const auto messages = lists.find(cprn);
    bool current = false, issue = false;
    if (messages != lists.end())
      for (const auto& message : messages->second) {
        current = current || std::fabs(timdif(message.m_mjd, message.m_sod, mjd, sod)) < kMessageLife_s;
        issue = issue || message.m_iode == iod;
      }
    if (!current) return ProductGap::message;
    if (iod == -1) return ProductGap::orbit;
    if (!clock) return ProductGap::clock;
    return issue ? ProductGap::none : ProductGap::issue;
  };
  const std::lock_guard<std::mutex> lock(m_mutex);
  return cprn[0] == 'R' ? gap(m_glsEph) : gap(m_gnssEph);
}

int SsrOrbitClkAdapter::v_readOrbit(const char* cprn, int mjd, double sod, double* xv) {
  std::fill(xv, xv + 6, 0.0);
  if (!m_acquire(mjd, sod)) return 0;
  const int isat = s_satRow(cprn);
  if (isat < 0 || m_cur.m_iodOrb[isat] == -1) return 0;
  int iod = m_cur.m_iodOrb[isat];
  if (BrdOrbitClkAdapter::v_readOrbit(cprn, mjd, sod, xv, &iod) == 0) return 0;
  s_applyOrbit(m_cur.m_dorb[isat], xv);
  return 1;
}

int SsrOrbitClkAdapter::v_readOrbit(const char* cprn, int mjd, double sod, double* xv, int*) {
  return SsrOrbitClkAdapter::v_readOrbit(cprn, mjd, sod, xv);
}

int SsrOrbitClkAdapter::v_readClk(const char* cprn, int mjd, double sod, double* clk) {
  *clk = 0.0;
  if (!m_acquire(mjd, sod)) return 0;
  const int isat = s_satRow(cprn);
  if (isat < 0 || m_cur.m_iodClk[isat] == -1) return 0;
  int iod = m_cur.m_iodClk[isat];
  double broadcast = 0.0;
  if (BrdOrbitClkAdapter::v_readClk(cprn, mjd, sod, &broadcast, &iod) == 0) return 0;
  const double* c = m_cur.m_dclk[isat];
  *clk = ((c[2] * m_age + c[1]) * m_age + c[0]) / kLight + broadcast;
  return 1;
}

int SsrOrbitClkAdapter::v_readClk(const char* cprn, int mjd, double sod, double* clk, int*) {
  return SsrOrbitClkAdapter::v_readClk(cprn, mjd, sod, clk);
}

int SsrOrbitClkAdapter::v_readClkDrift(const char* cprn, int mjd, double sod, double* drift) {
  return BrdOrbitClkAdapter::v_readClkDrift(cprn, mjd, sod, drift);
}

}  // namespace tarvio
