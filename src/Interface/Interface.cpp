// The entry points. Nothing that a host hands over may end the process or throw into it.

#include <exception>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_SDK.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"
#include "Interface/NumericLocale.h"

int GNX_isInitialize = 0;

namespace tarvio {

namespace {

bool s_initialised() { return __atomic_load_n(&GNX_isInitialize, __ATOMIC_ACQUIRE) != 0; }
void s_setInitialised(int value) { __atomic_store_n(&GNX_isInitialize, value, __ATOMIC_RELEASE); }

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
    if (tarvio::s_initialised()) tarvio::s_setObsData(t, obs);
  });
}

void GNX_setintv(double intv) {
  tarvio::s_enter(__func__, [&] { tarvio::Controller::s_getInstance()->m_setIntv(intv); });
}

void GNX_restart() {
  tarvio::s_enter(__func__, [] {
    if (!tarvio::s_initialised()) return;
    tarvio::Controller& controller = *tarvio::Controller::s_getInstance();
    controller.m_filter->v_srif_reset();
    controller.m_events.m_restarted(*controller.m_filter);
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
