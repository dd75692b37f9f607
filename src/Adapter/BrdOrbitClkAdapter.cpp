// Takes, keeps and evaluates broadcast messages; writes what it holds.

#include "Adapter/BrdOrbitClkAdapter.h"

#include <algorithm>
#include <cmath>

#include "Common/ComGeometry.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr double kGrid_s = 300.0;         ///< times of clock of regular uploads
constexpr double kMaxOffset_s = 21600.0;  ///< a message further from the present is refused
constexpr double kSameTime_s = 0.01;
constexpr int kFnavBit = 2;  ///< Galileo data source: F/NAV

/// BDS messages are evaluated in BDT.
double s_messageScale(const char* cprn, double sow) {
  return cprn[0] == 'B' || cprn[0] == 'C' ? sow - 14.0 : sow;
}

/// A message made of arbitrary numbers must not reach the filter: the height of any navigation
/// satellite, and an infinity or NaN anywhere in the sum fails too.
bool s_plausibleOrbit(const double* xv) {
  const double r = std::sqrt(dot(3, xv, xv));
  const double v = std::sqrt(dot(3, xv + 3, xv + 3));
  return r > 1.0e6 && r < 1.0e9 && v < 1.0e5;
}

bool s_plausibleClock(double clk) { return std::fabs(clk) < 1.0; }

/// Inserts by time, newest first, at most two; a message older than both is dropped.
template <class Message>
void s_insertByTime(std::list<Message>& messages, const Message& message) {
  if (messages.empty()) {
    messages.push_front(message);
    return;
  }
  const auto after = [&](const Message& held) {
    return timdif(message.m_mjd, message.m_sod, held.m_mjd, held.m_sod);
  };
  const double toFirst = after(messages.front());
  const double toLast = after(messages.back());
  const bool full = messages.size() >= 2;
  if (toFirst > kSameTime_s) {
    if (full) messages.pop_back();
    messages.push_front(message);
  } else if (toFirst < -kSameTime_s && (!full || toLast > kSameTime_s)) {
    if (full) messages.pop_back();
    messages.push_back(message);
  }
}

template <class Message>
bool s_held(const std::list<Message>& messages, const Message& message) {
  return std::any_of(messages.begin(), messages.end(), [&](const Message& held) {
    return std::fabs(timdif(held.m_mjd, held.m_sod, message.m_mjd, message.m_sod)) < kSameTime_s;
  });
}

/// Whether the message is of the present; logs when it is not.
template <class Message>
bool s_timely(const Message& message, int mjd, double sod) {
  if (std::fabs(timdif(message.m_mjd, message.m_sod, mjd, sod)) <= kMaxOffset_s) return true;
  Logtrace::m_logStatInfo("receving wrong time of ephemeris:%s eph:%d %8.1lf cur:%d %8.1lf\n", message.m_cprn,
                          message.m_mjd, message.m_sod, mjd, sod);
  return false;
}

}  // namespace

BrdOrbitClkAdapter::BrdOrbitClkAdapter() {
  m_orbtype = 1;
  m_clktype = 1;
}

int BrdOrbitClkAdapter::v_readOrbit(const char* cprn, int mjd, double sod, double* xv) {
  int iod = -1;
  return BrdOrbitClkAdapter::v_readOrbit(cprn, mjd, sod, xv, &iod);
}

int BrdOrbitClkAdapter::v_readOrbit(const char* cprn, int mjd, double sod, double* xv, int* iod) {
  int week = 0;
  double sow = 0.0, clk = 0.0, dtmin = 0.0, tgd = 0.0;
  mjd2wksow(mjd, sod, &week, &sow);
  std::fill(xv, xv + 6, 0.0);
  int found = 0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (cprn[0] == 'R') found = m_gls2xyz("yyy", cprn, week, sow, xv, &clk, &dtmin, iod);
    else found = m_brd2xyz("yyy", cprn, week, s_messageScale(cprn, sow), xv, &clk, &dtmin, &tgd, iod);
  }
  if (found == 1 && s_plausibleOrbit(xv)) return 1;
  std::fill(xv, xv + 6, 0.0);
  return 0;
}

int BrdOrbitClkAdapter::v_readClk(const char* cprn, int mjd, double sod, double* clk) {
  int iod = -1;
  return BrdOrbitClkAdapter::v_readClk(cprn, mjd, sod, clk, &iod);
}

int BrdOrbitClkAdapter::v_readClk(const char* cprn, int mjd, double sod, double* clk, int* iod) {
  int week = 0;
  double sow = 0.0, dtmin = 0.0, tgd = 0.0;
  double xv[6];
  mjd2wksow(mjd, sod, &week, &sow);
  int found = 0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (cprn[0] == 'R') found = m_gls2xyz("ynn", cprn, week, sow, xv, clk, &dtmin, iod);
    else found = m_brd2xyz("ynn", cprn, week, s_messageScale(cprn, sow), xv, clk, &dtmin, &tgd, iod);
  }
  if (found == 1 && s_plausibleClock(*clk)) return 1;
  *clk = 0.0;
  return 0;
}

int BrdOrbitClkAdapter::v_readClkDrift(const char* cprn, int mjd, double sod, double* drift) {
  constexpr double kStep_s = 0.01;
  int iodNow = -1, iodThen = -1;
  double now = 0.0, then = 0.0;
  *drift = 0.0;
  if (BrdOrbitClkAdapter::v_readClk(cprn, mjd, sod, &now, &iodNow) == 0) return 0;
  if (BrdOrbitClkAdapter::v_readClk(cprn, mjd, sod + kStep_s, &then, &iodThen) == 0) return 0;
  *drift = (then - now) / kStep_s;
  return 1;
}

std::map<std::string, GPSEPH> BrdOrbitClkAdapter::v_getCurrentGpsEph(double mjd) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_getCurrentGpsEph(mjd);
}

std::map<std::string, GLSEPH> BrdOrbitClkAdapter::v_getCurrentGlsEph(double mjd) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_getCurrentGlsEph(mjd);
}

void BrdOrbitClkAdapter::v_inputEph(GPSEPH* eph, GLSEPH* geph) {
  if (eph != nullptr && std::fmod(eph->m_sod, kGrid_s) != 0.0) return;
  if (s_config().m_lpost) m_inputEphPost(eph, geph);
  else m_inputEphRealTime(eph, geph);
}

void BrdOrbitClkAdapter::m_inputEphRealTime(GPSEPH* eph, GLSEPH* geph) {
  int mjd = 0;
  double sod = 0.0;
  cur_time(&mjd, &sod);
  m_inputEphAt(eph, geph, mjd, sod);
}

void BrdOrbitClkAdapter::m_inputEphPost(GPSEPH* eph, GLSEPH* geph) {
  const Deploy& deploy = s_config();
  m_inputEphAt(eph, geph, deploy.m_curMjd, deploy.m_curSod);
}

void BrdOrbitClkAdapter::m_inputEphAt(GPSEPH* eph, GLSEPH* geph, int mjd, double sod) {
  // Log lines and look-ups of leap seconds belong to other locks: both come before ours.
  if (eph != nullptr) {
    eph->m_iode = genAode(eph->m_cprn[0], eph->m_mjd, eph->m_sod, eph->m_toe, eph->m_iode, eph);
    const bool inav = eph->m_cprn[0] == 'E' && (static_cast<int>(eph->m_codes) & kFnavBit) == 0;
    if (s_timely(*eph, mjd, sod) && !inav) {
      const std::lock_guard<std::mutex> lock(m_mutex);
      std::list<GPSEPH>& messages = m_gnssEph[eph->m_cprn];
      if (!s_held(messages, *eph)) s_insertByTime(messages, *eph);
    }
  }
  if (geph != nullptr) {
    geph->m_iode = genAode(geph->m_cprn[0], geph->m_mjd, geph->m_sod, 0.0, geph->m_iode, nullptr);
    if (s_timely(*geph, mjd, sod)) {
      const std::lock_guard<std::mutex> lock(m_mutex);
      std::list<GLSEPH>& messages = m_glsEph[geph->m_cprn];
      if (!s_held(messages, *geph)) s_insertByTime(messages, *geph);
    }
  }
}

}  // namespace tarvio
