#pragma once
/// \file BoundaryInput.h
/// What stands between the host's records and the system's: look-ups of satellite and code numbers,
/// the tests that keep impossible numbers out, and the conversions of ephemerides and corrections.

#include "Common/Constants.h"
#include "GNX_IO.h"

namespace tarvio {

class Deploy;

/// Satellite and code numbers of the companion, looked up once after configuration. Constant
/// afterwards, so that feeder threads may read it.
struct SignalTable {
  int m_row[256];                 ///< satellite number to row of m_cprn, -1 when not configured
  int m_sys[kMaxSat];             ///< row to system index by m_sysname, -1 when unknown
  char m_code[256][3];            ///< code number to "1C", "" for a number of no code
  signed char m_slot[kSys][256];  ///< system and code number to slot of m_freqObs, -1 when not configured

  SignalTable();
  void m_build(const Deploy& deploy);
};

/// Identifier of a satellite number: at most 3 characters, "" for a number of no satellite.
struct SatelliteId {
  explicit SatelliteId(int sat);
  char m_text[32] = {};
};

/// All n numbers are finite and within +-limit.
bool s_usable(const double* values, int n, double limit);
/// A time of the years 1980 to 2099 inside the table of leap seconds: others would end the process
/// or overflow behind the boundary.
bool s_usableTime(GNX_IO::gtime_t t);
/// GPS time of the host to (mjd, sod). \return GPS week
int s_epochOf(GNX_IO::gtime_t t, int* mjd, double* sod);

/// Takes a mark of the host's record. \return whether it announced something new
inline bool s_consume(std::int32_t& mark) {
  if (mark == GNX_IO::kConsumed) return false;
  mark = GNX_IO::kConsumed;
  return true;
}

/// One epoch of observations through the whole sequence.
void s_setObsData(GNX_IO::gtime_t t, const GNX_IO::obs_t* obs);
/// One ephemeris into the store.
void s_setEphData(GNX_IO::nav_t* nav, int sat, int off);
/// Orbit and clock corrections of all satellites into the store; consumes their marks.
void s_setSsrData(GNX_IO::ssr_t* ssr);
/// Code biases, phase biases and inter-frequency clock terms into their stores; consumes their marks.
void s_setBiasData(GNX_IO::ssr_t* ssr);

}  // namespace tarvio
