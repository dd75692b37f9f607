#pragma once
/// \file BrdOrbitClkAdapter.h
/// Store of broadcast messages behind a mutex.

#include <mutex>

#include "Adapter/BroadcastEphUtils.h"
#include "Adapter/OrbitClkAdapter.h"

namespace tarvio {

class BrdOrbitClkAdapter : public OrbitClkAdapter, public BroadcastEphUtils {
 public:
  BrdOrbitClkAdapter();

  using ClkAdapter::v_readClk;
  using OrbitAdapter::v_readOrbit;
  int v_readOrbit(const char* cprn, int mjd, double sod, double* xv) override;
  int v_readOrbit(const char* cprn, int mjd, double sod, double* xv, int* iod) override;
  int v_readClk(const char* cprn, int mjd, double sod, double* clk) override;
  int v_readClk(const char* cprn, int mjd, double sod, double* clk, int* iod) override;
  int v_readClkDrift(const char* cprn, int mjd, double sod, double* drift) override;
  void v_openOutFile(std::string epoch, double version) override;
  void v_outFileEph() override;
  void v_closeOutFile() override;
  int v_isOutFileOpen() override;
  std::map<std::string, GPSEPH> v_getCurrentGpsEph(double mjd) override;
  std::map<std::string, GLSEPH> v_getCurrentGlsEph(double mjd) override;
  void v_inputEph(GPSEPH* eph, GLSEPH* geph) override;

  /// Message rules: 300-s grid, six hours of the wall clock, two messages a satellite, Galileo F/NAV.
  void m_inputEphRealTime(GPSEPH* eph, GLSEPH* geph);
  void m_inputEphPost(GPSEPH* eph, GLSEPH* geph);

  std::mutex m_mutex;

 private:
  void m_inputEphAt(GPSEPH* eph, GLSEPH* geph, int mjd, double sod);
};

}  // namespace tarvio
