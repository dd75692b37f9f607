#pragma once
/// \file SrifAmbfix_if.h
/// Integer resolution of ionosphere-free ambiguities in two levels: "wl" on slot 1, a wide-lane in
/// cycles that only the three-frequency combination "AFIF" estimates, and "n1" on slot 0, the
/// ionosphere-free ambiguity in metres, a narrow-lane with the wide-lane known (LevelForm.h).
/// Arguments, search, weight of the constraints and record of fixes are those of SrifAmbfix_raw.
/// `prosys` holds the letters of the systems that take part. Everything is static; the state is the filter's.

#include <string>
#include <vector>

#include "Adapter/UpdAdapter.h"
#include "Config/UpdAmbconfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

class SrifAmbfix_if {
 public:
  static void s_if_resolve_wl(const std::string& prosys, SrifFilter* filter, const Updc* updc, int* s0);
  static void s_if_resolve_n1(const std::string& prosys, SrifFilter* filter, const Updc* updc, int* s0);

  /// Keeps references that still serve, else takes the highest satellite that does.
  static void s_if_pickValid_s0(const std::string& prosys, const char* tag, const Upd_ambconfig& cfg,
                                const Updc* updc, bool flag, SrifFilter* filter, int* s0);
  /// Between-satellite candidates without the references, cycles. \param Qamb  covariance of the
  /// ambiguity columns, nc x nc \param Q  out, covariance of the candidates \param x  out, float
  /// values \param idx  out, satellite rows \param nlist  out, column stride of Q \returns candidates
  static int s_if_form_wl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                               const int* s0, std::vector<double>& Q, std::vector<double>& x,
                               std::vector<int>& idx, int* nlist);
  static int s_if_form_nl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                               const int* s0, std::vector<double>& Q, std::vector<double>& x,
                               std::vector<int>& idx, int* nlist);
  /// The integers of flagged satellites as constraints. \return whether they found room
  static bool s_if_coninfs_wl(const char* tag, SrifFilter* filter, const Updc* updc, const int* ifix,
                              const int* flags, const int* s0);
  static bool s_if_coninfs_n1(const char* tag, SrifFilter* filter, const Updc* updc, const int* ifix,
                              const int* flags, const int* s0);
  static void s_if_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx, int n,
                                 const int* ifix, const int* flags, const int* s0);
};

}  // namespace tarvio
