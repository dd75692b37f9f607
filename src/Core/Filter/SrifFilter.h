#pragma once
/// \file SrifFilter.h
/// Square-root information filter in one array: R upper triangular over rows and columns
/// 0..imtx-1, z in column imtx, R dx = z (Bierman 1977). Rows imtx.. are zero at rest; during an
/// epoch rows imtx..imtx+nobs-1 hold the weighted design matrix and right-hand side.
///
/// Columns: 0..np-1 ordinary parameters (m_pamt), np..npi-1 slant ionosphere (m_ionlist),
/// npi..imtx-1 ambiguities (m_amblist), each store in column order. The state is a correction to
/// the a-priori values xini of the records.
///
/// Storage is column-major: element (row, column) of `infs` is infs[iptx[column] + row], of `Hk`
/// (unweighted design matrix of the epoch, right-hand side in column imtx) Hk[iphk[column] + row].
///
/// Order of the steps in an epoch: v_setobs; v_onTimeUpdate, or v_onFilterInit the first time;
/// v_onObsUpdate; v_onDataQC; v_onPrepare; v_onAddAmbt; v_onAddObsMatrix; v_onFilterEstimate;
/// v_onOutput; v_onFinish; v_onDelAmbt. All on one thread.

#include <ctime>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Adapter/IfpbAdapter.h"
#include "Adapter/OrbitClkAdapter.h"
#include "Adapter/ProductStores.h"
#include "Common/GivensSweeps.h"
#include "Common/SmoothAdapter.h"
#include "Core/Filter/EpochAccount.h"
#include "Core/Filter/FixAgreement.h"
#include "Core/Filter/FixRecord.h"
#include "Core/Filter/FixedSolution.h"
#include "Core/Filter/MeasurementSweep.h"
#include "Core/Filter/NoSolution.h"
#include "Core/Filter/NoiseMonitor.h"
#include "Core/Filter/SrifPamt.h"
#include "Core/Filter/StatusCondition.h"
#include "Core/Qc/QcTurboEdit.h"
#include "Records/Rnxobs.h"
#include "Records/SolutionState.h"
#include "Records/Station.h"

namespace tarvio {

class HMWfilter;
class StateArchive;

/// Where a row of the array comes from: a row of SrifFilter::obsrec.
struct RowOrigin {
  int isat, kind, slot, ista, place;  ///< place: row of the station's lists
};

class SrifFilter : public QcTurboEdit, public ProductStores {
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
  /// What the filter knows between two epochs (FilterState.cpp). \throws std::runtime_error for a state that
  /// is not of this configuration; the filter is good for a reset then
  virtual void v_fields(StateArchive& a);
  /// Ends the arcs of a slot, as an outlier does, from the rows of this epoch on.
  void m_endArc(int ista, int isat, int slot);

  void m_set_prosys(const char* systems);
  /// First column of a kind, or -1.
  int i_ip(int ista) const;
  int i_is(int isat) const;
  int i_ic(int ista, int isys) const;
  int i_it(int ista) const;
  int i_id(int ista, int isys, int ifreq) const;
  int i_id2(int ista, int isys) const;
  /// Enters value and indices into a record and 1/sigma on the diagonal of its column.
  void m_initf(SrifPamt& record, double value, double sigma, int ipar, int ista, int isys, int isat,
               int ifreq);
  /// Coefficients of the three-frequency combination by system letter.
  std::map<char, std::vector<double>> m_get_AFIF_ccf();
  /// Removes columns from the square root; what the others know stays (marginalisation).
  /// \param records  the records of `columns`, deleted here  \param columns  ascending
  /// \param flags  by column, 1 = goes  \param count  how many
  void m_delpm(std::vector<SrifPamt*>& records, std::vector<int>& columns, std::vector<int>& flags,
               int count);
  /// Columns of R^-T that belong to a station's position and zenith delay, kSite of imtx each, the last of
  /// zeros without a zenith delay; false without a position.
  bool m_siteFactor(int ista, std::vector<double>& Y) const;
  /// Covariance of both in the present solution, m^2, by rows; false without a position.
  bool m_siteCovariance(int ista, double (&out)[kSite * kSite]) const;
  /// Covariance of a station's position in the present solution, m^2, by rows; false without one.
  bool m_positionCovariance(int ista, double (&out)[9]) const;
  /// The same of the first station with the integers of the last level in the solution.
  bool m_fixedCovariance(double (&out)[9]) const;
  /// Keeps covariance and formal sigmas for the epoch's results, when anybody wants them.
  void m_keepCovariance();
  void m_addProductErrors(double (&covariance)[9]) const;
  /// Solves R x = z; while integers are resolved, with the fixes so far.
  void m_solve(std::vector<double>& x) const;
  /// Solves R dx = z and refreshes dx and xest of all records.
  void m_solve_update();
  /// Unweighted residuals of the epoch's rows at the present solution of the array, m.
  void m_get_resi(double* out);

  void m_onDia();
  void m_onDia_batch();
  void m_onDia_batch_rescheck();
  /// Orders list entries by falling absolute value; entries whose row is done go to the end.
  /// \param n  entries  \param values, rows  by entry  \param done  by row  \param order  out
  void m_sortRes(int n, std::vector<double>& values, std::vector<int>& order, const std::vector<int>& rows,
                 const std::vector<int>& done);
  /// Column imtx+k+1 := what a unit jump of `value` (metres per unit) in `row` looks like behind the
  /// reflectors of this epoch; the second form weights it.
  /// \return false, and nothing is done, when the array has no room for it
  bool m_onDiaGenSen(int row, int k, double value);
  bool m_onDiaGenSen(int row, int k, double value, double weight);
  /// Takes the epoch's rows in once more, so that their reflectors stand below the triangle.
  void m_makeReflectors();
  /// Takes the k prepared columns into the array as new ambiguities of `rows`.
  void m_onDiaUpInfs(int k, const std::vector<int>& rows);
  /// Sigma of unit weight when the rows' misfit is also explained by n sensitivity columns (nobs
  /// values each, one behind the other), leaving out column `skip`.
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

  /// Live record of a station, satellite and slot (frequency slot or kSlotIon); null = none.
  SrifPamt* m_pm(int ista, int isat, int slot) const {
    return m_pmtab[(ista * kMaxSat + isat) * kParameterSlots + slot];
  }
  SrifPamt*& m_pm(int ista, int isat, int slot) {
    return m_pmtab[(ista * kMaxSat + isat) * kParameterSlots + slot];
  }
  RowOrigin m_origin(int row) const {
    const int* origin = obsrec + 5 * row;
    return {origin[0], origin[1], origin[2], origin[3], origin[4]};
  }

  double m_ambinf0 = 1.0e-4;  ///< diagonal of a new ambiguity
  int nstap = 0, nsatclk = 0, nrecclk = 0, nztd = 0, ntfdcb = 0, nstadcb = 0;
  int np = 0, ni = 0, npi = 0, nc = 0, imtx = 0;
  double* amat = nullptr;        ///< 40 doubles a row: up to 20 pairs (column, coefficient)
  int* namat = nullptr;          ///< pairs of each row
  double dintv = 0.0;            ///< s since the last epoch
  double tlast = -1.0;           ///< fractional MJD of the last epoch
  std::time_t treset = -1;       ///< of the last reset, whole seconds
  double m_resetFraction = 0.0;  ///< and the fraction of a second
  std::time_t tstart = 0;
  int m_isinit = 0;
  double* infs = nullptr;
  double* Hk = nullptr;
  double* resi = nullptr;      ///< float residuals, m
  double* resi_fix = nullptr;  ///< residuals after ambiguity fixing, m
  double* tres = nullptr;      ///< transformed residuals of the measurement update
  double* obswgt = nullptr;    ///< 1/sigma of each row
  int* iptx = nullptr;
  int* iphk = nullptr;
  int mjd = 0;
  double sod = 0.0;
  double m_intv = 0.0;
  double m_sig0 = 0.0;
  int nobs = 0;
  int* obsrec = nullptr;  ///< five ints a row: those of RowOrigin
  SmoothAdapter m_smooth;
  double m_sig0_smooth = 999.0;
  int nhk = 0, ntmx = 0, ldinfs = 0;  ///< rows of Hk; columns of both arrays; rows of infs
  int m_solstat = kStateNone;         ///< SolutionState
  double m_ratio = 0.0, m_ratio_wl = 0.0, m_ratio_ewl = 0.0;
  /// The member that holds the ratio of a level.
  static double SrifFilter::*s_ratioOf(Level level) {
    constexpr double SrifFilter::*kRatios[] = {&SrifFilter::m_ratio_ewl, &SrifFilter::m_ratio_wl,
                                               &SrifFilter::m_ratio};
    return kRatios[s_place(level)];
  }
  int m_nfix = 0;
  bool m_noRoomTold = false;  ///< constraints of a level found no room, and the status log says so
  int m_ndia = 1;             ///< rows that outlier adaptation treats in one pass
  std::vector<SrifPamt> m_pamt;
  std::list<SrifPamt*> m_ionlist, m_amblist;
  std::list<SrifPamt*> m_ambdel;  ///< copies of the records deleted in this epoch
  std::vector<Station> m_stations;
  SrifPamt** m_pmtab = nullptr;  ///< [station][satellite row][ParameterSlot], owns nothing
  FixMap m_fixmap;               ///< read and written through Fixes and FixRecord
  std::map<std::string, std::map<std::string, double>> m_ambhold;
  std::map<std::string, std::map<std::string, std::unique_ptr<HMWfilter>>> m_hmw;  ///< tag, station
  /// A candidate of a level against its reference satellite, in this epoch.
  struct LevelCandidate {
    int isat = -1, iref = -1;
    double value = 0.0;  ///< cycles between the satellites, biases removed, before the level's fixes
    bool fixed = false;
    int integer = 0;
  };
  std::vector<LevelCandidate> m_candidates[kLevelCount];  ///< by place of the level, of this epoch
  StatusCondition m_misfitTold[kLevelCount], m_oldBiases, m_undetermined;  ///< of the integer resolution
  FixAgreement m_agreement[kLevelCount];                                   ///< by place of the level
  std::vector<std::vector<int>> m_ambreset;                                ///< station, satellite, slot
  std::map<char, std::vector<double>> m_afifccf;
  std::string m_prosys;
  int* m_ewlint = nullptr;                  ///< [station][160] held extra-wide-lane integer
  int* m_ewlflag = nullptr;                 ///< [station][160] 1 = held
  std::map<std::string, t_ifpb> m_ifpbrec;  ///< third-frequency biases taken over so far
  bool m_wantsResults = false;              ///< somebody listens to the results of the epoch
  Reason m_reason = Reason::none;           ///< what the resolution of integers met in this epoch
  std::vector<double> m_solutionSigma;      ///< by column of ordinary parameters and slant delays
  double m_solutionCovariance[9] = {};      ///< of the first station's position, m^2, by rows
  FixedSolution m_fixed;                    ///< while integers are resolved
  NoiseMonitor m_noise;
  EpochAccount m_account{*this};
  std::vector<RowOrigin> m_waiting;  ///< rows of the epoch for whose columns the array has no room
  int m_maxSatEpoch = 0;             ///< satellites that the row storage holds in one epoch and station
  NoSolution m_noSolution;

 protected:
  // sizing and ordinary parameters
  void m_checkDatum() const;
  void m_sizeArrays();
  void m_allocateArrays();
  void m_leaveTermsOut();
  void m_deleteArcs();
  void m_appendPamt(SrifPamt record, double value, double sigma, double q, int* count);
  void m_resetCoordinates(int ista);
  void m_resetClocks(int ista);
  void m_resetZenith(int ista);
  void m_resetFrequencyBiases(int ista);
  void m_resetDatumBiases(int ista);
  int m_resetAllOrdinary();

  // observations of the epoch
  void m_positionAndModel(int ista);
  void m_limitSatellites(Station& sta);
  void m_checkUseful(Station& sta);
  int m_formIf(int ista, int isat, double* wgt, int row);
  int m_formAfif(int ista, int isat, int fq1, int fq2, double* wgt, int row);
  int m_formSf(int ista, int isat, double* wgt, int row);
  void m_transferSlips(int ista, int isat);

  // smoothed wide-lanes
  void m_createWidelaneFilters();
  void m_smoothWidelanes();
  void m_restartWidelanes(int ista, int isat, int ifreq);

  // ionosphere and ambiguity columns
  void m_requestRestarts();
  void m_addIonosphere();
  void m_addAmbiguities();
  void m_startAmbiguities();
  SrifPamt* m_newAmbiguity(int ista, int isat, int slot, int kind, int column);
  void m_insertColumns(int first, const std::vector<double>& diagonal);
  int m_room() const;
  bool m_waits(int ista, const RowIndex& row) const;
  void m_collectAgedAmbiguities(std::vector<SrifPamt*>& records, std::vector<int>& columns,
                                std::vector<int>& flags);
  void m_collectUnusedIonosphere(std::vector<SrifPamt*>& records, std::vector<int>& columns,
                                 std::vector<int>& flags);

  // time update, rows, estimate
  double m_noiseSpan(SrifPamt& record, bool* running) const;
  /// How a value passes to the next epoch.
  struct Transition {
    double information = 0.0;  ///< 1/sigma of its noise
    double phi = 0.0;
    double moved = 0.0;  ///< correction that the a-priori value has taken over
  };
  Transition m_pass(SrifPamt& record, double information) const;
  void m_passOrdinary();
  void m_passIonosphere();
  void m_moveOn();
  void m_beginLeaving(int count, int rows);
  GivensSweeps::Column& m_leave(int column);
  void m_setRow(Station& sta, int ista, int row, int number, const std::vector<double>& xini);
  void m_addRow(const Station& sta, int ista, int row);
  void m_emptyRows();
  /// Rows come in rising order.
  void m_setDesign(int row, int column, double coefficient);
  void m_reportWaiting();
  SrifPamt* m_recordOf(int column, int ista, int isat, int slot);
  void m_allocateRows(int rows);
  void m_takeRowsIn();
  void m_keepPrior();
  void m_clearRows();
  double m_unitWeightSigma(bool codeAndPhaseOnly) const;
  void m_logSolution() const;

  // state between two runs
  void m_checkConfiguration(StateArchive& a) const;
  void m_arcFields(StateArchive& a);
  void m_arrayFields(StateArchive& a);

  // triple frequency
  void m_applyIfpb(int isat, const t_ifpb& record);
  void m_holdSystem(int ista, int isys);

 private:
  // Work space that is kept between epochs.
  std::vector<Transition> m_transitions;
  GivensSweeps m_sweeps;
  std::vector<double> m_leavingRows, m_leavingCarry;
  std::vector<GivensSweeps::Column> m_leavingColumns, m_stayingColumns;
  int m_leavingHeight = 0, m_leavingCount = 0;
  MeasurementSweep m_measurement;
  bool m_hasReflectors = false;  ///< below the triangle
  std::vector<double> m_prior;   ///< the triangle and the right-hand sides before the epoch's rows
  std::vector<double> m_solution;
  std::vector<double> m_xiniOf;
  std::vector<double> m_formedWgt;
  std::vector<ColumnRows> m_designRows;  ///< by column: where Hk may have something
  std::vector<double> m_rowDoubles;
  std::vector<int> m_rowInts;
  StatusCondition m_arrayFull, m_satellitesLeftOut;
};

}  // namespace tarvio
