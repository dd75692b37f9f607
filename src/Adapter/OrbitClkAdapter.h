#pragma once
/// \file OrbitClkAdapter.h
/// Interfaces by which the models ask for a satellite's orbit and clock.
/// Epochs are GPS time; positions are metres, terrestrial frame; clocks are seconds without the
/// periodic relativistic term.

#include <map>
#include <string>

#include "Adapter/EphRecords.h"

namespace tarvio {

struct SatPos_T;  ///< precise orbit record of other modes

class ClkAdapter {
 public:
  virtual ~ClkAdapter() = default;
  /// \return 1 on success; 0 leaves *clk at 0
  virtual int v_readClk(const char* cprn, int mjd, double sod, double* clk);
  virtual int v_readClk(const char* cprn, int mjd, double sod, double* clk, int* iod);
  virtual int v_readClkDrift(const char* cprn, int mjd, double sod, double* drift);
};

class OrbitAdapter {
 public:
  virtual ~OrbitAdapter() = default;
  /// \param xv  position and velocity; zeroed on failure
  virtual int v_readOrbit(const char* cprn, int mjd, double sod, double* xv);
  virtual int v_readOrbit(const char* cprn, int mjd, double sod, double* xv, int* iod);
};

/// What a satellite lacks at an epoch.
enum class ProductGap {
  none,
  correction,  ///< no record of corrections within reach
  orbit,       ///< the record holds no orbit of the satellite
  clock,       ///< nor clock
  message,     ///< no current broadcast message
  issue,       ///< no broadcast message of the issue of data that the correction names
};

class OrbitClkAdapter : public ClkAdapter, public OrbitAdapter {
 public:
  ~OrbitClkAdapter() override = default;
  virtual void v_openOutFile(std::string epoch, double version);
  virtual void v_outFileEph();
  virtual void v_closeOutFile();
  virtual int v_isOutFileOpen();
  virtual std::map<std::string, GPSEPH> v_getCurrentGpsEph(double mjd);
  virtual std::map<std::string, GLSEPH> v_getCurrentGlsEph(double mjd);
  virtual void v_inputEph(GPSEPH* eph, GLSEPH* geph);
  virtual void v_inputSsr(SSRORB* orb, SSRCLK* clk);
  virtual void v_inputSp3(SatPos_T* pos);
  virtual void v_inputClk();
  virtual void v_inputSsr_reply();
  /// Why a satellite cannot be served, for diagnostics; changes nothing.
  virtual ProductGap v_gap(const char* cprn, int mjd, double sod);
  /// Epoch minus time of the corrections that serve it, s; not a number when none do.
  virtual double v_correctionAge(int mjd, double sod) const;

  int m_orbtype = 0, m_clktype = 0;  ///< 1 broadcast, 3 SSR
  int m_outOpen = 0;
  double m_rnxver = 3.1;
  char m_brdmFile[1024] = "";
};

}  // namespace tarvio
