#pragma once
/// \file SrifFilter.h
/// Square-root information filter in one array: R upper triangular over rows and columns
/// 0..imtx-1, z in column imtx, R dx = z (Bierman 1977). Rows imtx.. are zero at rest; during an
/// epoch rows imtx..imtx+nobs-1 hold the weighted design matrix and right-hand side.
///
/// Columns: 0..np-1 ordinary parameters, np..npi-1 slant ionosphere, npi..imtx-1 ambiguities.

#include <ctime>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "Adapter/OrbitClkAdapter.h"
#include "Core/Filter/SrifPamt.h"
#include "Core/Qc/QcTurboEdit.h"
#include "Core/Qc/SmoothAdapter.h"
#include "Interface/Rnxobs.h"
#include "Interface/Station.h"

namespace tarvio {

class HMWfilter;

class SrifFilter : public QcTurboEdit {
 public:
  SrifFilter(const std::vector<Station>& stations, double intv);
  ~SrifFilter() override;
  SrifFilter(const SrifFilter&) = delete;
  SrifFilter& operator=(const SrifFilter&) = delete;

  virtual int v_isInit();
  virtual void v_setobs(std::map<std::string, Rnxobs*> obs);
  virtual void v_onDataQC();
  virtual void v_onPrepare();
  virtual void v_onFinish();
  virtual void v_onFilterInit();
  virtual void v_onFilterEstimate();
  virtual void v_onObsUpdate();
  virtual void v_onTimeUpdate();
  virtual void v_onDelAmbt();
  virtual void v_onAddAmbt();
  virtual void v_onAddObsMatrix();
  virtual void v_onOutput();
  virtual void v_onEpochFinish();
  virtual void v_onTerminate();
  virtual void v_onSetAmat();
  virtual void v_onTickInterval();
  virtual void v_srif_reset();
  virtual double v_form_AFIF(Station& sta, int isat, double* wgt);
  virtual void v_formcomb_obs();
  virtual void v_xini_update(int mode);
  virtual double v_setAFIF_lam(int isat, int* slot1, int* slot2);
  virtual double v_get_ion_wgt(const SrifPamt& record, double dt);
  virtual void v_resolve_raw();
  virtual void v_resolve_if();

  void m_set_prosys(const char* systems);
  /// First column of a kind, or -1.
  int i_ip(int ista) const;
  int i_is(int isat) const;
  int i_ic(int ista, int isys) const;
  int i_it(int ista) const;
  int i_id(int ista, int isys, int ifreq) const;
  int i_id2(int ista, int isys) const;
  void m_initf(SrifPamt& record, double value, double sigma, int ipar, int ista, int isys,
               int isat, int ifreq);
  std::map<char, std::vector<double>> m_get_AFIF_ccf();
  void m_delpm(std::vector<SrifPamt*>& records, std::vector<int>& columns,
               std::vector<int>& flags, int count);
  void m_solve_update();
  void m_get_resi(double* out);
  void m_onDia();
  void m_onDia_batch();
  void m_onDia_batch_rescheck();
  void m_sortRes(int n, std::vector<double>& values, std::vector<int>& order,
                 const std::vector<int>& rows, const std::vector<int>& done);
  void m_onDiaGenSen(int row, int k, double value);
  void m_onDiaGenSen(int row, int k, double value, double weight);
  void m_onDiaUpInfs(int k, const std::vector<int>& rows);
  double psig(int n, const std::vector<double>& columns, int skip);
  void m_get_dop();
  void m_genxsig();
  std::string m_getRTKLIBSeq();
  std::string m_getGGASeq();
  std::string m_get_running_span();
  /// Third-frequency bias on the observations.
  void m_corrifpb();
  /// Integer extra-wide-lanes of the three-frequency combination.
  void m_ewl_amb_holder();

  /// Live record of a station, satellite and slot (0..3 ambiguities, 4 ionosphere); null = none.
  SrifPamt*& m_pm(int ista, int isat, int slot) { return m_pmtab[(ista * kMaxSat + isat) * 5 + slot]; }

  double m_ambinf0 = 1.0e-4;
  int nstap = 0, nsatclk = 0, nrecclk = 0, nztd = 0, ntfdcb = 0, nstadcb = 0;
  int np = 0, ni = 0, npi = 0, nc = 0, imtx = 0;
  double* amat = nullptr;
  int* namat = nullptr;
  double dintv = 0.0;
  double tlast = -1.0;
  std::time_t treset = -1;
  std::time_t tstart = 0;
  int m_isinit = 0;
  double* infs = nullptr;
  double* Hk = nullptr;
  double* resi = nullptr;
  double* resi_fix = nullptr;
  double* tres = nullptr;
  double* obswgt = nullptr;
  int* iptx = nullptr;
  int* iphk = nullptr;
  int mjd = 0;
  double sod = 0.0;
  double m_intv = 0.0;
  double m_sig0 = 0.0;
  int nobs = 0;
  int* obsrec = nullptr;   ///< five ints a row: satellite, kind, slot, station, position in the list
  SmoothAdapter m_smooth;
  double m_sig0_smooth = 999.0;
  int nhk = 0, ntmx = 0, ldinfs = 0;
  int m_solstat = 0;       ///< 0 nothing, 1 code, 2 phase float, 5 fixed
  double m_ratio = 0.0, m_ratio_wl = 0.0, m_ratio_ewl = 0.0;
  int m_nfix = 0;
  int m_ndia = 1;
  std::vector<SrifPamt> m_pamt;
  std::list<SrifPamt*> m_ionlist, m_amblist;
  std::list<SrifPamt*> m_ambdel;   ///< copies of the records deleted in this epoch
  std::vector<Station> m_stations;
  SrifPamt** m_pmtab = nullptr;    ///< [station][160][5]
  std::map<std::string, std::map<std::string, std::map<std::string, double>>> m_fixmap;
  std::map<std::string, std::map<std::string, double>> m_ambhold;
  std::map<std::string, std::map<std::string, HMWfilter*>> m_hmw;
  std::vector<std::vector<int>> m_ambreset;  ///< station, satellite, slot
  std::map<char, std::vector<double>> m_afifccf;
  std::string m_prosys;
  int* m_ewlint = nullptr;
  int* m_ewlflag = nullptr;
  std::vector<OrbitAdapter*> m_orbAdapters;  ///< not owned; the models use the first
  std::vector<ClkAdapter*> m_clkAdapters;
  int m_maxSatEpoch = 0;   ///< satellites that the row storage holds in one epoch
};

}  // namespace tarvio
