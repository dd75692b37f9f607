#pragma once
/// \file SrifAmbfix_raw.h
/// Integer resolution of ambiguities on separate frequencies, one level at a time: "ewl" and "wl"
/// (differences of two frequencies of a satellite), then "n1" (first frequency or narrow-lane). The entries
/// for hosts and tests that name levels by their tags; LevelResolution.h has the steps behind them.
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

class SrifAmbfix_raw {
 public:
  // --- references and candidates ----------------------------------------------------------------
  /// Whether the ambiguity of slots `ia` and `ib` (-1: not asked for) may enter a level: elevation,
  /// length of the arc, state of the level before.
  static bool s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ia, int ib, bool flag,
                             const Upd_ambconfig& cfg);
  /// The form for ionosphere-free observations: one slot, a limit that grows towards the horizon,
  /// and no stale arcs.
  static bool s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ifreq, bool flag,
                             const Upd_ambconfig& cfg);
  static void s_raw_pickValid_s0(const char* tag, const Upd_ambconfig& cfg, const Updc* updc, bool flag,
                                 SrifFilter* filter, int* s0);
  /// Covariance of the ambiguity columns, nc x nc, from their own triangle. \returns nc; 0 when there
  /// are none or the triangle is singular
  static int s_ambCovariance(const SrifFilter* filter, std::vector<double>& Qamb);
  /// Between-satellite ambiguities of a level, without the references. \param Qamb  nc x nc \param Q  out,
  /// covariance, column stride *nlist \param x  out, cycles \param idx  out, satellite rows
  /// \param nlist  out \returns candidates
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

  // --- constraints and the record of fixes ------------------------------------------------------
  /// The integers of flagged satellites as constraints. \return whether they found room; without it the
  /// array stays as the level before left it
  static bool s_raw_coninfs_wl(const char* tag, const Upd_ambconfig& cfg, SrifFilter* filter,
                               const Updc* updc, const int* ifix, const int* flags, const int* s0);
  static bool s_raw_coninfs_nl(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                               const int* s0);
  static bool s_raw_coninfs_NL(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                               const int* s0);
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
