#pragma once
/// \file Station.h
/// Everything known about the receiver, and its per-satellite rows. Rows are satellite rows of
/// Deploy::m_cprn, slots the positions in m_freqObs/m_freqUsed of the satellite's system.

#include <deque>
#include <string>
#include <vector>

#include "Common/Constants.h"
#include "Records/Antatx.h"
#include "Records/QcSlip.h"

namespace tarvio {

class Model;

/// Why a slot needs a new ambiguity (Ssat_t::m_ambflag), and how an ambiguity began (SrifPamt::iflag).
/// A slip hands its kind on, so that the first values are those of SlipKind.
enum ArcFlag : int {
  kArcGoesOn = 0,
  kArcNew = kSlipSingle,  ///< first use, reset, aged out, or slip of a single frequency
  kArcGap = kSlipGap,
  kArcWideLane = kSlipWideLane,
  kArcGeometryFree = kSlipGeometryFree,
  kArcRestart = 5,  ///< the extra-wide-lane integers were realigned; the only value of m_ambstate
  kArcOutlier = 6,  ///< by outlier treatment
  kArcHeld = 7,     ///< made by outlier treatment and withdrawn: the old arc goes on
};

/// What an observation row is (third column of Station::m_idxList, second of SrifFilter::obsrec).
enum RowKind : int {
  kRowCode = 1,
  kRowPhase = 2,
  kRowAfifCode = 3,   ///< serves the wide-lane stage only, never enters the array
  kRowAfifPhase = 4,  ///< three-frequency wide-lane phase
};
inline bool s_isPhaseRow(int kind) { return kind == kRowPhase || kind == kRowAfifPhase; }

/// The per-satellite row of a station.
struct Ssat_t {
  double m_azim = 0.0, m_elev = 0.0;      ///< radians
  double m_los[3] = {};                   ///< design row of position: minus the unit vector to the satellite
  int m_wuinit = 1;                       ///< windup: first use
  double m_wuprev = 0.0, m_windup = 0.0;  ///< cycles
  double m_mapdry = 0.0, m_mapwet = 0.0;  ///< mapping factors
  double m_trop = 0.0;                    ///< slant delay, m
  double m_stec = 0.0, m_ionmap = 1.0;
  double m_obs[kObs] = {};  ///< as in Rnxobs
  double m_dop[kFreq] = {}, m_snr[kFreq] = {};
  char m_type[kObs][4] = {};
  double m_xx[kObs] = {};       ///< observed minus computed, m; 0 = none
  double m_wgt[kObs] = {};      ///< 1/sigma, 1/m
  int m_flag[kFreq] = {};       ///< RejectReason
  int m_ambflag[kFreq] = {};    ///< ArcFlag: this slot needs a new ambiguity
  int m_slip[kFreq] = {};       ///< SlipKind
  int m_newamb[kFreq] = {};     ///< an ambiguity was added in this epoch
  int m_ambstate = kArcGoesOn;  ///< kArcRestart: the wide-lane ambiguities must restart
  int m_ifpbreset = 0;          ///< 1: a new issue of the third-frequency bias
  QcSlip m_sm[6];               ///< slip detection, by frequency pair (three are in use)
  // code-minus-carrier monitor of Model::m_computeCmc
  int m_cmcCount[kFreq] = {};
  double m_cmcMean[kFreq] = {};

  /// What lasts beyond an epoch.
  template <class Archive>
  void m_fields(Archive& a) {
    a(m_azim, m_elev, m_los, m_wuinit, m_wuprev, m_windup, m_mapdry, m_mapwet, m_trop, m_stec, m_ionmap);
    a(m_flag, m_ambflag, m_slip, m_newamb, m_ambstate, m_ifpbreset, m_sm, m_cmcCount, m_cmcMean);
  }
};

/// Long code-minus-carrier statistics: one queue per slot and its running mean and sigma.
struct t_cmc_queue {
  std::deque<double> m_queue[8];
  double m_mean[8] = {};
  double m_sigma[8] = {};

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_queue, m_mean, m_sigma);
  }
};

/// Where a row of the lists comes from, and its number among the rows of all stations.
struct RowIndex {
  int isat, slot, kind, number;
};

/// Rows of the epoch, allocated with calloc by the model. Copies of a station start without rows:
/// they belong to the object whose model made them.
struct EpochRows {
  EpochRows() = default;
  EpochRows(const EpochRows&) {}
  EpochRows& operator=(const EpochRows& other);
  ~EpochRows() { m_freeLists(); }

  double* m_omcList = nullptr;  ///< observed minus computed, m
  double* m_wgtList = nullptr;  ///< 1/sigma, 1/m
  int* m_idxList = nullptr;     ///< four ints a row: those of RowIndex
  int m_nobs = 0;

  RowIndex m_index(int row) const {
    const int* index = m_idxList + 4 * row;
    return {index[0], index[1], index[2], index[3]};
  }
  void m_setIndex(int row, const RowIndex& index);
  /// Frees the three row lists and nulls them.
  void m_freeLists();
};

struct Station : EpochRows {
  explicit Station(std::string name);

  std::string m_name;
  char m_skd = 'K';  ///< S static, K kinematic, D dynamic
  char m_clkmodel[4] = "CLK";
  double m_x[3] = {};  ///< a-priori position, m, terrestrial
  double m_sigXyz[3] = {1.0, 1.0, 1.0};
  double m_qXyz[3] = {1.0, 1.0, 1.0};
  double m_blh[3] = {};     ///< geodetic latitude, longitude (rad), height (m)
  double m_rot[3][3] = {};  ///< east, north, up to terrestrial
  Antatx m_ant;
  double m_antenu[kSys][kFreq][3] = {};  ///< receiver antenna offsets, ENU, m
  double m_enu[3] = {};                  ///< reference point above the marker, ENU, m
  std::string m_recType, m_antType;
  double m_sigZtd = 0.1, m_qZtd = 0.0004;
  double m_sigIon = 20.0, m_qIon = 20.0;  ///< slant ionosphere: m, m/sqrt(s)
  double m_rclk[kSys] = {};               ///< receiver clock terms, m
  double m_sigClk[kSys], m_qClk[kSys], m_sigCode[kSys], m_sigPhase[kSys];
  double m_cutoff = 0.12217304763960307;  ///< rad
  double m_zhd = 0.0, m_zwd = 0.0;        ///< m
  double m_xyz[3] = {};                   ///< position estimate, m
  Ssat_t m_sat[kMaxSat];
  char m_attr[kSys][kFreq] = {};  ///< signal attribute first seen, by system and slot
  int m_mjd = 0;
  double m_sod = 0.0;
  Model* m_model = nullptr;  ///< not owned
  t_cmc_queue m_cmc[kSys];
  double m_gdop = 0.0, m_pdop = 0.0, m_hdop = 0.0, m_vdop = 0.0;
  double m_olc[6][11] = {};  ///< ocean loading: amplitudes (m), phases (rad)
  bool m_olcValid = false;
  double m_olcXyz[3] = {};  ///< where m_olc was looked up

  /// What the run has learnt; the rest is configuration.
  template <class Archive>
  void m_fields(Archive& a) {
    a(m_x, m_blh, m_rot, m_rclk, m_zhd, m_zwd, m_xyz, m_sat, m_attr, m_mjd, m_sod, m_cmc);
    a(m_gdop, m_pdop, m_hdop, m_vdop);
  }
};

/// Index or pointer of a station by name; -1 or null when missing.
int getIndexOfStation(const std::string& name, const std::vector<Station>& stations);
Station* pointer_station(const std::string& name, std::vector<Station>& stations);

}  // namespace tarvio
