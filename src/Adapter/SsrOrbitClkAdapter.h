#pragma once
/// \file SsrOrbitClkAdapter.h
/// Broadcast messages plus state-space corrections matched to them by issue of data.

#include <list>
#include <mutex>

#include "Adapter/BrdOrbitClkAdapter.h"

namespace tarvio {

class SsrOrbitClkAdapter : public BrdOrbitClkAdapter {
 public:
  SsrOrbitClkAdapter();

  int v_readOrbit(const char* cprn, int mjd, double sod, double* xv) override;
  int v_readOrbit(const char* cprn, int mjd, double sod, double* xv, int* iod) override;
  int v_readClk(const char* cprn, int mjd, double sod, double* clk) override;
  int v_readClk(const char* cprn, int mjd, double sod, double* clk, int* iod) override;
  int v_readClkDrift(const char* cprn, int mjd, double sod, double* drift) override;
  void v_inputSsr(SSRORB* orb, SSRCLK* clk) override;
  ProductGap v_gap(const char* cprn, int mjd, double sod) override;
  double v_correctionAge(int mjd, double sod) const override;
  void v_openOutFile(std::string epoch, double version) override;
  void v_outFileEph() override;
  void v_closeOutFile() override;

  double m_lastEpoch = 0.0;  ///< fractional MJD of the last acquisition
  double m_age = 0.0;        ///< s, of the last record looked at; epoch thread only
  char m_ssrFile[1024] = "";
  std::mutex m_ssrMutex;  ///< guards m_list
  SsrRecord m_cur;        ///< record of the present epoch; epoch thread only
  std::list<SsrRecord> m_list;

 private:
  /// Whether m_cur was chosen for this epoch.
  bool m_isCurrent(int mjd, double second) const;
  /// Chooses the record nearest to the epoch, within 120 s. \return whether m_cur serves the epoch
  bool m_acquire(int mjd, double sod);
};

}  // namespace tarvio
