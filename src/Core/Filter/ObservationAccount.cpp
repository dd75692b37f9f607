// Fates of the values of an epoch and their totals by system.

#include "Core/Filter/ObservationAccount.h"

#include <cstring>
#include <numeric>

#include "Adapter/OrbitClkAdapter.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr const char* kNames[] = {
    "absent",  "open",         "used",    "notconfigured", "noslot",    "impossible", "replaced",
    "partner", "codes",        "nobias",  "nophasebias",   "notick",    "system",     "ifpb",
    "unused",  "nocorrection", "noorbit", "noclock",       "nomessage", "noissue",    "noposition",
    "lowelev", "range",        "noroom",  "epoch",         "norow"};
static_assert(std::size(kNames) == ObservationAccount::kFates);

int s_systemOf(char letter) {
  if (letter == 'B') letter = 'C';
  const char* found = letter == '\0' ? nullptr : std::strchr(ObservationAccount::kLetters, letter);
  return found ? static_cast<int>(found - ObservationAccount::kLetters) : ObservationAccount::kSystems - 1;
}

}  // namespace

const char* s_fateName(Fate fate) { return kNames[static_cast<std::size_t>(fate)]; }

Fate s_fateOfFlag(int flag, Fate otherwise) {
  switch (flag) {
    case kFlagCodes:
      return Fate::codes;
    case kFlagNoBias:
      return Fate::noBias;
    default:
      return otherwise;
  }
}

Fate s_productFate(OrbitClkAdapter* products, int isat, int mjd, double sod, Fate otherwise) {
  if (products == nullptr) return otherwise;
  switch (products->v_gap(s_config().m_cprn[isat].c_str(), mjd, sod)) {
    case ProductGap::correction:
      return Fate::noCorrection;
    case ProductGap::orbit:
      return Fate::noOrbit;
    case ProductGap::clock:
      return Fate::noClock;
    case ProductGap::message:
      return Fate::noMessage;
    case ProductGap::issue:
      return Fate::noIssue;
    default:
      return otherwise;
  }
}

bool s_wantsAccount(const char* options) {
  if (options[0] == '\0') return false;
  return std::strstr(options, "-outaccount") || std::strstr(options, "-outobsstat") ||
         std::strstr(options, "-outflag");
}

void ObservationAccount::m_begin(bool wanted) {
  m_on = wanted;
  m_source = nullptr;
  if (!m_on) return;
  std::memset(m_fates, 0, sizeof m_fates);
  m_arrived.clear();
  std::memcpy(m_before, m_totals, sizeof m_before);
}

void ObservationAccount::m_refuse(char letter, Fate fate, int n) {
  if (m_on) m_totals[s_systemOf(letter)][static_cast<int>(fate)] += n;
}

void ObservationAccount::m_arrive(const Rnxobs& obs, bool flagged) {
  if (!m_on) return;
  m_source = &obs;
  m_arrived.clear();
  for (int isat = 0; isat < kMaxSat; ++isat) {
    bool any = false;
    for (int place = 0; place < kObs; ++place) {
      Fate& fate = m_fates[isat][place];
      const int flag = obs.m_flag[isat][place % kFreq];
      if (obs.m_obs[isat][place] != 0.0) fate = Fate::open;
      else if (flagged && flag != 0) fate = s_fateOfFlag(flag, Fate::partner);
      any = any || fate != Fate::absent;
    }
    if (any) m_arrived.push_back(isat);
  }
}

void ObservationAccount::m_settleScreened(const Rnxobs& obs) {
  m_settle([&](int isat, int place) {
    if (obs.m_obs[isat][place] != 0.0) return Fate::open;
    return s_fateOfFlag(obs.m_flag[isat][place % kFreq], Fate::partner);
  });
}

void ObservationAccount::m_settleBiased(const Rnxobs& obs, OrbitClkAdapter* products) {
  m_settle([&](int isat, int place) {
    if (obs.m_obs[isat][place] != 0.0) return Fate::open;
    const Fate fate = s_fateOfFlag(obs.m_flag[isat][place % kFreq], Fate::noPhaseBias);
    // A satellite that the corrections leave out altogether has no bias for that reason.
    const Fate gap = s_productFate(products, isat, obs.m_mjd, obs.m_sod, fate);
    return gap == Fate::noIssue ? fate : gap;
  });
}

void ObservationAccount::m_close() {
  if (!m_on) return;
  const Deploy& deploy = s_config();
  for (const int isat : m_arrived) {
    long* totals = m_totals[s_systemOf(deploy.m_cprn[isat].empty() ? '\0' : deploy.m_cprn[isat][0])];
    for (const Fate fate : m_fates[isat])
      if (fate != Fate::absent) ++totals[static_cast<int>(fate)];
  }
  m_on = false;
  m_source = nullptr;
}

long ObservationAccount::m_in(int system) const {
  return std::accumulate(m_totals[system], m_totals[system] + kFates, 0L);
}

}  // namespace tarvio
