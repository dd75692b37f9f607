// The lists of broadcast messages: which message serves a request.

#include "Adapter/BroadcastEphUtils.h"

#include <cmath>
#include <cstring>

#include "Common/ComTime.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr double kKeplerWindow_h = 8.0;
constexpr double kGlonassWindow_h = 12.0;
constexpr double kNewestWindow_h = 2.0;   ///< for "the newest message"
constexpr double kGlonassReach_h = 24.0;  ///< longest arc that is integrated
constexpr int kAnyIssue = -1;
constexpr int kNewestIssue = -2;

double s_hours(const GPSEPH& eph, int week, double sow) {
  return (week - eph.m_week) * 168.0 + (sow - eph.m_toe) / 3600.0;
}

double s_hours(const GLSEPH& eph, int mjd, double sod) {
  return (mjd - eph.m_mjd) * 24.0 + (sod - eph.m_sod) / 3600.0;
}

/// Nearest message (ties to the later in the list), or the newest within two hours.
class Choice {
 public:
  Choice(int mode, double* dtmin) : m_mode(mode), m_dtmin(dtmin) {}

  /// Whether a message `hours` away with time of clock (mjd, sod) beats those seen before.
  bool improves(double hours, int mjd, double sod) {
    if (m_mode == kAnyIssue) {
      if (hours > *m_dtmin) return false;
    } else if (m_mode == kNewestIssue) {
      const double toc = mjd * kDay + sod;
      if (toc <= m_newest || hours > kNewestWindow_h) return false;
      m_newest = toc;
    } else {
      return false;
    }
    *m_dtmin = hours;
    return true;
  }

 private:
  int m_mode;
  double* m_dtmin;
  double m_newest = 0.0;
};

/// Walks the configured satellites by system and hands over those with messages.
template <class Messages, class Nearest>
void s_walkSatellites(const std::map<std::string, std::list<Messages>>& lists, Nearest nearest) {
  const Deploy& deploy = s_config();
  for (const char* letter = SYS; *letter != '\0'; ++letter) {
    for (int isat = 0; isat < deploy.m_nsat; ++isat) {
      if (deploy.m_cprn[isat][0] != *letter) continue;
      const auto found = lists.find(deploy.m_cprn[isat]);
      if (found != lists.end()) nearest(deploy.m_cprn[isat], found->second);
    }
  }
}

/// The message with the smallest distance, the first of equal ones.
template <class Message, class Distance>
const Message* s_nearest(const std::list<Message>& messages, Distance distance) {
  const Message* best = nullptr;
  double bound = 9000000000.0;
  for (const Message& message : messages) {
    const double d = std::fabs(distance(message));
    if (d < bound) {
      bound = d;
      best = &message;
    }
  }
  return best;
}

}  // namespace

BroadcastEphUtils::BroadcastEphUtils() {
  const Deploy& deploy = s_config();
  for (int isat = 0; isat < deploy.m_nsat; ++isat) {
    if (deploy.m_cprn[isat][0] == 'R') m_glsEph[deploy.m_cprn[isat]];
    else m_gnssEph[deploy.m_cprn[isat]];
  }
}

int BroadcastEphUtils::m_brd2xyz(const char* flag, const char* cprn, int week, double sow, double* xv,
                                 double* clk, double* dtmin, double* tgd, int* iode) {
  *clk = 0.0;
  *dtmin = kKeplerWindow_h;
  const auto found = m_gnssEph.find(cprn);
  if (found == m_gnssEph.end()) return 0;

  const GPSEPH* chosen = nullptr;
  Choice choice(*iode, dtmin);
  for (const GPSEPH& eph : found->second) {
    if (std::strcmp(eph.m_cprn, cprn) != 0) continue;
    const double hours = std::fabs(s_hours(eph, week, sow));
    if (*iode >= 0) {
      if (eph.m_iode != *iode || !(hours < *dtmin)) continue;
      *dtmin = hours;
      chosen = &eph;
    } else if (choice.improves(hours, eph.m_mjd, eph.m_sod)) {
      chosen = &eph;
    }
  }
  if (chosen == nullptr) return 0;
  m_geph2xyz(chosen, flag, week, sow, xv, clk);
  *iode = chosen->m_iode;
  *tgd = chosen->m_tgd;
  return 1;
}

int BroadcastEphUtils::m_gls2xyz(const char* flag, const char* cprn, int week, double sow, double* xv,
                                 double* clk, double* dtmin, int* iode) {
  *clk = 0.0;
  *dtmin = kGlonassWindow_h;
  const auto found = m_glsEph.find(cprn);
  if (found == m_glsEph.end()) return 0;

  int mjd = 0;
  double sod = 0.0;
  wksow2mjd(week, sow, &mjd, &sod);
  const GLSEPH* chosen = nullptr;
  Choice choice(*iode, dtmin);
  for (const GLSEPH& eph : found->second) {
    if (std::strcmp(eph.m_cprn, cprn) != 0) continue;
    const double hours = std::fabs(s_hours(eph, mjd, sod));
    if (*iode >= 0) {
      if (eph.m_iode != *iode) continue;
      *dtmin = hours;
      chosen = &eph;
      break;
    }
    if (choice.improves(hours, eph.m_mjd, eph.m_sod)) chosen = &eph;
  }
  // An issue number matches at any distance, and the work of the integration grows with it.
  if (chosen == nullptr || !(*dtmin <= kGlonassReach_h)) return 0;
  m_reph2xyz(chosen, flag, week, sow, xv, clk);
  *iode = chosen->m_iode;
  return 1;
}

std::map<std::string, GPSEPH> BroadcastEphUtils::m_getCurrentGpsEph(double mjd) {
  const int day = static_cast<int>(std::floor(mjd));
  int week = 0;
  double sow = 0.0;
  mjd2wksow(day, std::round((mjd - day) * kDay), &week, &sow);
  std::map<std::string, GPSEPH> current;
  s_walkSatellites(m_gnssEph, [&](const std::string& cprn, const std::list<GPSEPH>& messages) {
    const GPSEPH* best = s_nearest(messages, [&](const GPSEPH& eph) { return s_hours(eph, week, sow); });
    if (best != nullptr) current[cprn] = *best;
  });
  return current;
}

std::map<std::string, GLSEPH> BroadcastEphUtils::m_getCurrentGlsEph(double mjd) {
  const int day = static_cast<int>(std::floor(mjd));
  const double sod = std::round((mjd - day) * kDay);
  std::map<std::string, GLSEPH> current;
  s_walkSatellites(m_glsEph, [&](const std::string& cprn, const std::list<GLSEPH>& messages) {
    const GLSEPH* best =
        s_nearest(messages, [&](const GLSEPH& eph) { return timdif(day, sod, eph.m_mjd, eph.m_sod); });
    if (best != nullptr) current[cprn] = *best;
  });
  return current;
}

}  // namespace tarvio
