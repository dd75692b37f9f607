// Keeps numbers out that no receiver can have measured, and counts them.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Records/Rnxobs.h"

namespace tarvio {

namespace {

constexpr double kPresent = 0.01;  ///< smaller numbers count as absent
constexpr double kCodeAgreement_m = 50.0;

bool s_present(double value) { return std::fabs(value) >= kPresent; }

/// The rows of one satellite under test.
struct Rows {
  double* obs;
  double* dop;
  double* snr;
  int* flag;
  int result = 0;

  double phase(int j) const { return obs[j]; }
  double code(int j) const { return obs[kFreq + j]; }

  void clear() {
    std::fill(obs, obs + kObs, 0.0);
    std::fill(dop, dop + kFreq, 0.0);
    std::fill(snr, snr + kFreq, 0.0);
  }
  void drop(int j) { obs[j] = obs[kFreq + j] = dop[j] = snr[j] = 0.0; }
  void flagAll(RejectReason reason) {
    std::fill(flag, flag + kFreq, static_cast<int>(reason));
    result = 1;
  }
  /// The satellite goes because a partner is missing; reasons given before stay.
  void clearForPartner() {
    std::replace(flag, flag + kFreq, static_cast<int>(kFlagGood), static_cast<int>(kFlagPartner));
    result = 1;
    clear();
  }
};

/// Two pseudoranges must agree. \return whether the satellite is still in
bool s_checkTwoCodes(Rows& rows) {
  const bool first = s_present(rows.code(0)), second = s_present(rows.code(1));
  if (first && second) {
    if (std::fabs(rows.code(0) - rows.code(1)) <= kCodeAgreement_m) return true;
    rows.flagAll(kFlagCodes);
    rows.clear();
  } else if (first || second) {
    rows.clearForPartner();
  } else {
    rows.clear();
  }
  return false;
}

/// The row that most others agree with, the lowest of equals; -1 when no two agree.
int s_anchor(const Rows& rows, int n) {
  int anchor = -1, most = 0;
  for (int i = 0; i < n; ++i) {
    if (!s_present(rows.code(i))) continue;
    int agreeing = 0;
    for (int j = 0; j < n; ++j) {
      if (j != i && s_present(rows.code(j)) && std::fabs(rows.code(i) - rows.code(j)) < kCodeAgreement_m)
        ++agreeing;
    }
    if (agreeing > most) {
      most = agreeing;
      anchor = i;
    }
  }
  return anchor;
}

/// Majority among three or more pseudoranges. \return whether the satellite is still in
bool s_checkManyCodes(Rows& rows, int n) {
  int count = 0;
  for (int j = 0; j < n; ++j) count += s_present(rows.code(j)) ? 1 : 0;
  if (count == 0) {
    rows.clear();
    return false;
  }
  const int anchor = s_anchor(rows, n);
  if (anchor < 0) {
    // Codes that contradict each other are named; a single code leaves no reason behind.
    for (int j = 0; j < kFreq; ++j) {
      rows.flag[j] = count > 1 && j < n && s_present(rows.code(j)) ? kFlagCodes : kFlagGood;
    }
    rows.result = 1;
    rows.clear();
    return false;
  }
  const double reference = rows.code(anchor);
  for (int j = 0; j < n; ++j) {
    if (s_present(rows.code(j)) && std::fabs(rows.code(j) - reference) > kCodeAgreement_m) {
      rows.drop(j);
      rows.flag[j] = kFlagCodes;
      rows.result = 1;
    }
  }
  return true;
}

void s_checkTwoPhases(Rows& rows) {
  const bool first = s_present(rows.phase(0)), second = s_present(rows.phase(1));
  if (first && second) return;
  if (first || second) rows.clearForPartner();
  else rows.clear();
}

/// A slot needs phase and code, the satellite two slots.
void s_checkManyPhases(Rows& rows, int n) {
  int count = 0;
  for (int j = 0; j < n; ++j) {
    if (s_present(rows.phase(j)) && s_present(rows.code(j))) {
      ++count;
      continue;
    }
    if (rows.flag[j] == kFlagGood) rows.flag[j] = kFlagPartner;
    rows.result = 1;
    rows.drop(j);
  }
  if (count == 1) rows.clearForPartner();
  else if (count == 0) rows.clear();
}

void s_checkSingle(Rows& rows, bool usesCode, bool usesPhase) {
  if (usesCode && rows.code(0) == 0.0) {
    if (rows.phase(0) != 0.0) rows.flagAll(kFlagPartner);
    rows.clear();
  }
  if (!usesPhase) return;
  const bool phase = rows.phase(0) != 0.0, code = rows.code(0) != 0.0;
  if (phase && code) return;
  if (phase != code) rows.flagAll(kFlagPartner);
  rows.clear();
}

}  // namespace

int Rnxobs::s_checkObs(int isat, double* obs, double* dop, double* snr, int* flag) {
  const Deploy& deploy = s_config();
  const int isys = index_sys(false, isat);
  if (isys < 0) return 0;
  const bool usesCode = s_contains(deploy.m_obsused, "CODE");
  const bool usesPhase = s_contains(deploy.m_obsused, "PHASE") || s_contains(deploy.m_obsused, "GRAPHIC");
  const bool many = deploy.m_nfreqUsed[isys] >= 3;
  const int n = std::min(deploy.m_nfreqObs[isys], kFreq);

  Rows rows{obs, dop, snr, flag};
  if (s_contains(deploy.m_obscomb, "SF")) {
    s_checkSingle(rows, usesCode, usesPhase);
    return rows.result;
  }
  if (usesCode && !(many ? s_checkManyCodes(rows, n) : s_checkTwoCodes(rows))) return rows.result;
  if (!usesPhase) return rows.result;
  if (many) s_checkManyPhases(rows, n);
  else s_checkTwoPhases(rows);
  return rows.result;
}

}  // namespace tarvio
