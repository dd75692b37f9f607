#pragma once
/// \file HMWfilter.h
/// Smoothed wide-lanes. For every satellite and over a whole continuous arc a linear combination of
/// phase and code, in the usual setting that of Melbourne (1985) and Wuebbena (1985), is averaged in
/// cycles. With c_k, d_k the phase and code coefficients, f_k the carriers:
///
///   F = sum c_k f_k,  lambda = c/F,  x = (sum c_k f_k (lam_k L_k) / F - sum d_k P_k) / lambda
///
/// Phases and codes are brought to the antenna reference points of both ends first, as far as the filter's
/// model does so: satellite offsets only with orbits of the centre of mass. The average is a satellite's
/// wide-lane plus the receiver's and the satellite's hardware fractions; with "mwfix" in the level's
/// settings, or "-mwfix" in the option string for all levels, the fraction that all satellites of a system
/// share is taken off and the rest is rounded (Ge et al. 2008, J. Geodesy 82).
///
/// Combinations are written as tokens joined by '_', names being those of the observed frequencies:
///   LL1:1       phase of L1, coefficient 1 (the carrier frequency is multiplied on)
///   PL1:0.562   code of L1, coefficient 0.562
///   PIF:L1:L2   codes of two frequencies with +f_a and -f_b, Hz: for the ionosphere combination, of
///               which only the choice of the two codes counts
///
/// Runs on the epoch thread, beside the float filter, and takes nothing from it but the observations
/// and the slip flags.

#include <map>
#include <string>

#include "Common/Constants.h"

namespace tarvio {

struct Station;
struct Updc;
struct Upd_ambconfig;
class UpdAdapter;

/// The arc of one satellite.
struct SrifSatAmbd {
  std::string tag;
  double coef[kObs] = {};     ///< phases 0..3, codes 4..7 by slot of m_freqObs; 0 = not used
  double ioncoef[kObs] = {};  ///< the same for the combination that gives the ionosphere
  int itype = 3;
  int ifix = 0;  ///< 0 not usable in this epoch, 1 float, above it fixed: LevelTraits::fixedState
  int isat = -1;
  int nobs = 0;        ///< epochs above the elevation limit
  int lsmooth = 1;     ///< 1 average over the arc, 0 value of the epoch
  int lnew = 0;        ///< the epoch was accepted
  double xsm = kNone;  ///< result, cycles; the integer once ifix >= 2
  double sumwx = 0.0, sumw = 0.0, sumwxx = 0.0;
  double x0 = 0.0;                    ///< offset of the sums, cycles
  double ptime0 = 0.0, ptime1 = 0.0;  ///< begin and last accepted epoch, fractional MJD
  double sumelev = 0.0;               ///< over the epochs in nobs, rad
  double xlast = kNone;               ///< value of the epoch, cycles
  double wlast = 0.0;
  double xfloat = kNone;  ///< what xsm was before it was rounded, cycles

  bool m_isFixed() const { return ifix > 1; }

  template <class Archive>
  void m_fields(Archive& a) {
    a(tag, coef, ioncoef, itype, ifix, isat, nobs, lsmooth, lnew, xsm, sumwx, sumw, sumwxx, x0);
    a(ptime0, ptime1, sumelev, xlast, wlast, xfloat);
  }
};

class HMWfilter {
 public:
  HMWfilter() = default;
  HMWfilter(std::string tag, const Upd_ambconfig* config);

  /// One epoch: new arcs, averages, when asked for integers.
  void m_process(Station* sta);
  /// Begins a new arc. False when the combination names a frequency that is not observed.
  bool m_init_amb(SrifSatAmbd& record, int isat);
  /// Values of the epoch to the log stream "ambfix_status_" + tag.
  void m_wl_output(Station* sta);

  bool m_wl_setcoef(int isat, const std::string& text, double* out);
  void m_wl_resetAmbs(Station* sta);
  void m_wl_azel(Station* sta);
  void m_wl_smoothObs(Station* sta);
  void m_wl_smamb(Station* sta, SrifSatAmbd& record);
  /// Slant ionosphere of the phase on the system's first slot, m. False when a code is missing.
  bool m_wl_l1ionget(const Station* sta, const SrifSatAmbd& record, double* ion) const;
  void m_wl_ambiguity_fix(Station* sta);
  void m_wl_delete_ambs();

  int m_mjd = 0;
  double m_sod = 0.0;
  std::string m_sys = SYS;
  std::string m_tag;
  const Upd_ambconfig* m_cfg = nullptr;               ///< not owned
  UpdAdapter* m_upd = nullptr;                        ///< biases of the level, not owned
  double m_elev[kMaxSat] = {}, m_azim[kMaxSat] = {};  ///< rad; 0 = unknown
  /// Fraction shared by the satellites of a system, cycles, followed across its wrap.
  double m_frac[kSys] = {kNone, kNone, kNone, kNone, kNone, kNone, kNone};
  std::map<std::string, SrifSatAmbd> m_ambs;  ///< by satellite name

  /// What has been smoothed so far.
  template <class Archive>
  void m_fields(Archive& a) {
    a(m_mjd, m_sod, m_elev, m_azim, m_frac, m_ambs);
  }

 private:
  bool m_combination(const Station& sta, const SrifSatAmbd& record, double* cycles) const;
  double m_weight(double elev) const;
  bool m_hasProduct(const Updc* product, const SrifSatAmbd& record) const;
  void m_fixSystem(int isys, const Updc* product);
};

}  // namespace tarvio
