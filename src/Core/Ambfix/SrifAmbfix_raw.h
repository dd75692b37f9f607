#pragma once
/// \file SrifAmbfix_raw.h
/// Integer resolution of ambiguities on separate frequencies, one level at a time: "ewl" and "wl"
/// (differences of two frequencies of a satellite), then "n1" (first frequency or narrow-lane).
///
/// The filter holds undifferenced ambiguities. Here, and only for the search, they are differenced
/// against one reference satellite per system. A fix enters the square root as a pseudo-observation
/// of weight 1e4 below the triangle, and the record of fixes SrifFilter::m_fixmap, which the next
/// level reads. Everything is static; the state is the filter's.
///
/// Shared arguments: `tag` the level; `cfg` its block; `updc` its product, may be null, in cycles of
/// the level; `s0` [7] reference satellite by system, -1 none; `ifix`, `flags` [160] integer and
/// mark of a fixed satellite by satellite row; `flag` asks for the level before to be fixed.

#include <vector>

#include "Adapter/UpdAdapter.h"
#include "Config/UpdAmbconfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

/// One constraint: sum of coefficient times parameter = target, in cycles or metres.
struct ConstraintRow {
  struct Term {
    int column;
    double coefficient;
  };
  Term terms[4];
  int count = 0;
  double target = 0.0;

  void add(int column, double coefficient) { terms[count++] = {column, coefficient}; }
};

/// Coefficients of the ionosphere-free combination of a satellite's pair, with its narrow-lane:
/// a1 N1 + a2 N2 in metres, a = alpha c/f1 and beta c/f2.
struct NarrowLane {
  double a1 = 0.0, a2 = 0.0;
  double lamNL = 0.0;  ///< m, c/(f1 + f2)
};

class SrifAmbfix_raw {
 public:
  // --- what may enter a level -------------------------------------------------------------------
  /// Whether the ambiguity of slots `ia` and `ib` (-1: not asked for) may enter a level: elevation,
  /// length of the arc, state of the level before.
  static bool s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ia, int ib, bool flag,
                             const Upd_ambconfig& cfg);
  /// The form for ionosphere-free observations: one slot, a limit that grows towards the horizon,
  /// and no stale arcs.
  static bool s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ifreq, bool flag,
                             const Upd_ambconfig& cfg);
  /// Whether the product holds both slots of the pair of `cfg` for the satellite; null passes.
  static bool s_hasProduct(const Updc* updc, int isat, const Upd_ambconfig& cfg);
  /// Satellites that are never a reference (C38, C39, C40: inclined geosynchronous orbits).
  static bool s_barredReference(int isat);
  /// Whether the record of a level holds the satellite as fixed (its state is above 1.0).
  static bool s_isFixed(const SrifFilter* filter, const char* tag, int isat);
  /// Value of a satellite in the record of a level, cycles; false when it is not there.
  static bool s_recordValue(const SrifFilter* filter, const char* tag, int isat, double* value);

  // --- references and candidates ----------------------------------------------------------------
  static void s_raw_pickValid_s0(const char* tag, const Upd_ambconfig& cfg, const Updc* updc, bool flag,
                                 SrifFilter* filter, int* s0);
  /// Covariance of the ambiguity columns, nc x nc, from their own triangle. \returns nc; 0 when there
  /// are none or the triangle is singular
  static int s_ambCovariance(const SrifFilter* filter, std::vector<double>& Qamb);
  static NarrowLane s_narrowLane(const Upd_ambconfig& cfg, int isat);
  /// Between-satellite ambiguities of a level. \param Qamb  nc x nc \param Q  out, covariance,
  /// column stride *nlist \param x  out, cycles \param idx  out, satellite rows \param nlist  out, the
  /// number of rows with the references. \returns candidates without the references
  static int s_raw_form_wl_vari(const char* tag, const Upd_ambconfig& cfg, const Updc* updc,
                                SrifFilter* filter, bool flag, const double* Qamb, int nc, int* s0,
                                std::vector<double>& Q, std::vector<double>& x, std::vector<int>& idx,
                                int* nlist);
  static int s_raw_form_n1_vari(const Updc* updc, SrifFilter* filter, bool flag, const double* Qamb, int nc,
                                int* s0, std::vector<double>& Q, std::vector<double>& x,
                                std::vector<int>& idx, int* nlist);
  static int s_raw_form_NL_vari(const Updc* updc, SrifFilter* filter, bool flag, const double* Qamb, int nc,
                                int* s0, std::vector<double>& Q, std::vector<double>& x,
                                std::vector<int>& idx, int* nlist);
  /// Moves later rows, columns, values and indices over those of the references and zeroes the rest;
  /// Q is m x m with stride m. \returns rows that remain
  static int s_removeReferences(std::vector<double>& Q, std::vector<double>& x, std::vector<int>& idx, int m,
                                const int* s0);
  /// Correction of the satellite minus that of its reference, cycles; 0 unless `updc` is combined.
  static double s_updTerm(const Updc* updc, int isat, int iref);

  // --- constraints and the record of fixes ------------------------------------------------------
  /// The integers of flagged satellites as constraints. \return whether they found room; without it the
  /// array stays as the level before left it
  static bool s_raw_coninfs_wl(const char* tag, const Upd_ambconfig& cfg, SrifFilter* filter,
                               const Updc* updc, const int* ifix, const int* flags, const int* s0);
  static bool s_raw_coninfs_nl(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                               const int* s0);
  static bool s_raw_coninfs_NL(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                               const int* s0);
  /// Writes the rows below the triangle, sets m_solstat, re-triangularises and solves. No rows: nothing
  /// happens. \return false when there is no room for so many; the status log says so the first time
  static bool s_foldRows(SrifFilter* filter, const std::vector<ConstraintRow>& rows, int solstat);
  static void s_raw_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx, int n,
                                  const int* ifix, const int* flags, const int* s0);

  // --- one level --------------------------------------------------------------------------------
  static void s_raw_resolve_wl(const char* tag, SrifFilter* filter, const Updc* updc, int* s0);
  static void s_raw_resolve_n1(SrifFilter* filter, const Updc* updc, int* s0);
  static void s_raw_resolve_NL(SrifFilter* filter, const Updc* updc, int* s0);
  /// Integers of the smoothed wide-lanes as constraints, without a search.
  static void s_raw_resolve_from_mw(const char* tag, SrifFilter* filter, const Updc* updc, int* s0);
  /// Searches the integers of n candidates and accepts all of them, or the best subset that leaves
  /// out at most max(8, n/3) of the least precise. \param crit  ratio limit without a table
  /// \param Q  column stride ldq \param sigma  of unit weight \param ratio  out, may be null
  /// \returns 1 when any was fixed
  static int s_raw_ddsrch_lambda(double crit, const double* Q, int ldq, double sigma, const double* x,
                                 const int* idx, const int* s0, int n, int* ifix, int* flags, double* ratio);
};

}  // namespace tarvio
