// The entry points. Nothing that a host hands over may end the process or throw into it.

#include <locale.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_SDK.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"

int GNX_isInitialize = 0;

namespace tarvio {

namespace {

constexpr int kMaxEntries = 100000;  ///< more observations in one epoch are no epoch
constexpr double kMinRange_m = 1.0e6;
constexpr double kMaxRange_m = 1.0e8;
constexpr double kMaxPhase_cycles = 1.0e11;  ///< counters that run freely stay far below
constexpr double kSnrUnit = 0.001;           ///< dB-Hz

bool s_initialised() { return __atomic_load_n(&GNX_isInitialize, __ATOMIC_ACQUIRE) != 0; }
void s_setInitialised(int value) { __atomic_store_n(&GNX_isInitialize, value, __ATOMIC_RELEASE); }

/// Numbers are read and written with a decimal point, whatever the locale of the host's thread.
class NumericLocale {
 public:
  NumericLocale() : m_before(uselocale(s_plain())) {}
  ~NumericLocale() { uselocale(m_before); }
  NumericLocale(const NumericLocale&) = delete;
  NumericLocale& operator=(const NumericLocale&) = delete;

 private:
  static locale_t s_plain() {
    static const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return plain;
  }
  locale_t m_before;
};

/// Runs the body of an entry point.
template <class Body>
void s_enter(const char* name, Body body) {
  const NumericLocale locale;
  try {
    body();
  } catch (const std::exception& failure) {
    Logtrace::m_logStatInfo("%s: %s\n", name, failure.what());
  }
}

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
  std::snprintf(rnx.m_type[isat][j], sizeof rnx.m_type[isat][j], "L%s", signals.m_code[number]);
  std::snprintf(rnx.m_type[isat][j + kFreq], sizeof rnx.m_type[isat][j], "C%s", signals.m_code[number]);
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

void s_inputObs(GNX_IO::gtime_t t, const GNX_IO::obs_t* obs) {
  if (obs == nullptr || (obs->n > 0 && obs->data == nullptr)) return;
  if (obs->n > kMaxEntries || !s_usableTime(t)) {
    Logtrace::m_logStatInfo("epoch with %d observations or its time is impossible, refused\n", obs->n);
    return;
  }
  Controller& controller = *Controller::s_getInstance();
  Rnxobs rnx;
  s_epochOf(t, &rnx.m_mjd, &rnx.m_sod);
  Deploy& deploy = controller.m_deploy;
  ObservationAccount& account = controller.m_filter->m_account;
  account.m_begin(s_wantsAccount(deploy.m_pams));
  s_setObservations(*obs, controller, rnx, account);
  account.m_arrive(rnx);
  for (int i = 0; i < deploy.m_nsat; ++i) {
    Rnxobs::s_checkObs(i, rnx.m_obs[i], rnx.m_dop[i], rnx.m_snr[i], rnx.m_flag[i]);
  }
  account.m_settleScreened(rnx);
  deploy.m_curMjd = rnx.m_mjd;
  deploy.m_curSod = rnx.m_sod;
  controller.m_corrdcb(&rnx);
  account.m_settleBiased(rnx, controller.m_orbclk);
  controller.m_makeupOrbclkCorrs(rnx.m_mjd, rnx.m_sod);
  controller.v_inputObs(&rnx);
}

void s_initialise(const char* mode, GNX_IO::sta_t* sta, double cutoff, double intv) {
  // A half-built engine is of no use to anyone: what cannot be built ends the process, like bad
  // configuration.
  try {
    Controller::s_getInstance()->_initilize(mode, sta, cutoff, intv);
  } catch (const std::exception& failure) {
    s_fatal(__func__, __LINE__, "%s\n", failure.what());
  }
  s_setInitialised(1);
}

}  // namespace

}  // namespace tarvio

void GNX_initialize(const char* mode, GNX_IO::sta_t* sta, double cutoff, double intv) {
  tarvio::s_enter(__func__, [&] {
    if (!tarvio::s_initialised()) tarvio::s_initialise(mode, sta, cutoff, intv);
  });
}

void GNX_finilize() {
  tarvio::s_enter(__func__, [] {
    if (!tarvio::s_initialised()) return;
    tarvio::s_setInitialised(0);
    tarvio::Controller::s_getInstance()->_finalize();
  });
}

void GNX_inputEph(GNX_IO::nav_t* nav, int sat, int off) {
  tarvio::s_enter(__func__, [&] {
    if (tarvio::s_initialised()) tarvio::s_setEphData(nav, sat, off);
  });
}

void GNX_inputSsr(GNX_IO::ssr_t* ssr) {
  tarvio::s_enter(__func__, [&] {
    if (tarvio::s_initialised()) tarvio::s_setSsrData(ssr);
  });
}

void GNX_inputSsrBias(GNX_IO::ssr_t* ssr) {
  tarvio::s_enter(__func__, [&] {
    if (tarvio::s_initialised()) tarvio::s_setBiasData(ssr);
  });
}

void GNX_inputObs(GNX_IO::gtime_t t, GNX_IO::obs_t* obs) {
  tarvio::s_enter(__func__, [&] {
    if (tarvio::s_initialised()) tarvio::s_inputObs(t, obs);
  });
}

void GNX_setintv(double intv) {
  tarvio::s_enter(__func__, [&] { tarvio::Controller::s_getInstance()->m_setIntv(intv); });
}

void GNX_restart() {
  tarvio::s_enter(__func__, [] {
    if (tarvio::s_initialised()) tarvio::Controller::s_getInstance()->m_filter->v_srif_reset();
  });
}

// The same entry points under their plain names, for hosts that declare them in C. The symbol names
// of the aliases' targets follow the Itanium C++ ABI.
extern "C" {
void c_initialize(const char*, GNX_IO::sta_t*, double, double) __asm__("GNX_initialize")
    __attribute__((alias("_Z14GNX_initializePKcPN6GNX_IO5sta_tEdd")));
void c_finilize() __asm__("GNX_finilize") __attribute__((alias("_Z12GNX_finilizev")));
void c_inputEph(GNX_IO::nav_t*, int, int) __asm__("GNX_inputEph")
    __attribute__((alias("_Z12GNX_inputEphPN6GNX_IO5nav_tEii")));
void c_inputSsr(GNX_IO::ssr_t*) __asm__("GNX_inputSsr")
    __attribute__((alias("_Z12GNX_inputSsrPN6GNX_IO5ssr_tE")));
void c_inputSsrBias(GNX_IO::ssr_t*) __asm__("GNX_inputSsrBias")
    __attribute__((alias("_Z16GNX_inputSsrBiasPN6GNX_IO5ssr_tE")));
void c_inputObs(GNX_IO::gtime_t, GNX_IO::obs_t*) __asm__("GNX_inputObs")
    __attribute__((alias("_Z12GNX_inputObsN6GNX_IO7gtime_tEPNS_5obs_tE")));
void c_setintv(double) __asm__("GNX_setintv") __attribute__((alias("_Z11GNX_setintvd")));
void c_restart() __asm__("GNX_restart") __attribute__((alias("_Z11GNX_restartv")));
}
