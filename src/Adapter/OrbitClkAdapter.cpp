// What a source of orbits and clocks answers to calls that it does not implement.

#include "Adapter/OrbitClkAdapter.h"

#include <cstdio>
#include <limits>

namespace tarvio {

namespace {

int s_notImplemented() {
  std::printf("***(ERROR):Base Class is not implement!\n");
  return 0;
}

}  // namespace

int ClkAdapter::v_readClk(const char*, int, double, double*) { return s_notImplemented(); }
int ClkAdapter::v_readClk(const char*, int, double, double*, int*) { return s_notImplemented(); }

int ClkAdapter::v_readClkDrift(const char*, int, double, double* drift) {
  std::printf("***(ERROR):Base class is not implement\n");
  *drift = 0.0;
  return 0;
}

int OrbitAdapter::v_readOrbit(const char*, int, double, double*) { return s_notImplemented(); }
int OrbitAdapter::v_readOrbit(const char*, int, double, double*, int*) { return s_notImplemented(); }

// A store overrides the inputs and outputs of the products that it keeps; all others are ignored.
void OrbitClkAdapter::v_openOutFile(std::string, double) {}
void OrbitClkAdapter::v_outFileEph() {}
void OrbitClkAdapter::v_closeOutFile() {}
int OrbitClkAdapter::v_isOutFileOpen() { return m_outOpen; }
std::map<std::string, GPSEPH> OrbitClkAdapter::v_getCurrentGpsEph(double) { return {}; }
std::map<std::string, GLSEPH> OrbitClkAdapter::v_getCurrentGlsEph(double) { return {}; }
void OrbitClkAdapter::v_inputEph(GPSEPH*, GLSEPH*) {}
void OrbitClkAdapter::v_inputSsr(SSRORB*, SSRCLK*) {}
void OrbitClkAdapter::v_inputSp3(SatPos_T*) {}
void OrbitClkAdapter::v_inputClk() {}
void OrbitClkAdapter::v_inputSsr_reply() {}
double OrbitClkAdapter::v_correctionAge(int, double) const {
  return std::numeric_limits<double>::quiet_NaN();
}
ProductGap OrbitClkAdapter::v_gap(const char*, int, double) { return ProductGap::none; }

}  // namespace tarvio
