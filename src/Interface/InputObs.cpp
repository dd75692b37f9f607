// One epoch of raw observations, from the host's records to the epoch's sequence.

#include <cmath>

#include "Common/Logtrace.h"
#include "Core/Filter/SrifFilter.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"
#include "Interface/Results.h"

namespace tarvio {

namespace {

constexpr int kMaxEntries = 100000;  ///< more observations in one epoch are no epoch
constexpr double kMinRange_m = 1.0e6;
constexpr double kMaxRange_m = 1.0e8;
constexpr double kMaxPhase_cycles = 1.0e11;  ///< counters that run freely stay far below
constexpr double kSnrUnit = 0.001;           ///< dB-Hz

/// The value, or 0 (absent) and a count when it is no observation.
double s_phase(double value, int& refused) {
  if (std::fabs(value) <= kMaxPhase_cycles) return value;
  ++refused;
  return 0.0;
}

double s_range(double value, int& refused) {
  if (value == 0.0 || (value >= kMinRange_m && value <= kMaxRange_m)) return value;
  ++refused;
  return 0.0;
}

/// How many of the values are not absent.
int s_values(double phase, double range) { return (phase != 0.0 ? 1 : 0) + (range != 0.0 ? 1 : 0); }

/// Code and phase values of one slot of an entry.
int s_values(const GNX_IO::obs_entry_t& entry, int slot) {
  return entry.code[slot] == 0 ? 0 : s_values(entry.L[slot], entry.P[slot]);
}

int s_values(const GNX_IO::obs_entry_t& entry) {
  int n = 0;
  for (int slot = 0; slot < GNX_IO::kSignalSlots; ++slot) n += s_values(entry, slot);
  return n;
}

/// "L1C" of 'L' and "1C".
void s_name(char (&name)[4], char kind, const char* code) {
  name[0] = kind;
  name[1] = code[0];
  name[2] = code[0] == '\0' ? '\0' : code[1];
  name[3] = '\0';
}

/// One signal into the rows of a satellite; the last of a band counts.
void s_setSignal(const GNX_IO::obs_entry_t& entry, int slot, const SignalTable& signals, int isat,
                 Rnxobs& rnx, int& refused, ObservationAccount& account) {
  const int number = entry.code[slot];
  const int isys = signals.m_sys[isat];
  const int j = signals.m_slot[isys][number];
  const char letter = SYS[isys];
  if (j < 0) {
    account.m_refuse(letter, Fate::noSlot, s_values(entry, slot));
    return;
  }
  account.m_refuse(letter, Fate::replaced, s_values(rnx.m_obs[isat][j], rnx.m_obs[isat][j + kFreq]));
  const int before = refused;
  rnx.m_obs[isat][j] = s_phase(entry.L[slot], refused);
  rnx.m_obs[isat][j + kFreq] = s_range(entry.P[slot], refused);
  account.m_refuse(letter, Fate::impossible, refused - before);
  rnx.m_snr[isat][j] = entry.SNR[slot] * kSnrUnit;
  const double doppler = entry.D[slot];
  rnx.m_dop[isat][j] = std::isfinite(doppler) ? -doppler : 0.0;
  s_name(rnx.m_type[isat][j], 'L', signals.m_code[number]);
  s_name(rnx.m_type[isat][j + kFreq], 'C', signals.m_code[number]);
}

void s_setObservations(const GNX_IO::obs_t& obs, const Controller& controller, Rnxobs& rnx,
                       ObservationAccount& account) {
  int refused = 0;
  for (int k = 0; k < obs.n; ++k) {
    const GNX_IO::obs_entry_t& entry = obs.data[k];
    const int isat = controller.m_signals.m_row[entry.sat];
    if (isat < 0 || controller.m_signals.m_sys[isat] < 0) {
      if (account.m_isOpen())
        account.m_refuse(SatelliteId(entry.sat).m_text[0], Fate::notConfigured, s_values(entry));
      continue;
    }
    for (int slot = 0; slot < GNX_IO::kSignalSlots; ++slot) {
      s_setSignal(entry, slot, controller.m_signals, isat, rnx, refused, account);
    }
  }
  if (refused > 0) {
    Logtrace::m_logStatInfo("%d observations are not finite or out of range, taken as absent\n", refused);
  }
}

}  // namespace

void s_setObsData(GNX_IO::gtime_t t, const GNX_IO::obs_t* obs) {
  if (obs == nullptr || (obs->n > 0 && obs->data == nullptr)) return;
  if (obs->n > kMaxEntries || !s_usableTime(t)) {
    Logtrace::m_logStatInfo("epoch with %d observations or its time is impossible, refused\n", obs->n);
    return;
  }
  Controller& controller = *Controller::s_getInstance();
  Rnxobs rnx;
  s_epochOf(t, &rnx.m_mjd, &rnx.m_sod);
  EpochAccount& account = controller.m_filter->m_account;
  controller.m_filter->m_wantsResults = Results::s_getInstance().m_wanted();
  account.m_begin(account.m_wanted());
  s_setObservations(*obs, controller, rnx, account);
  account.m_arrive(rnx);
  controller.m_runEpoch(&rnx);
}

}  // namespace tarvio
