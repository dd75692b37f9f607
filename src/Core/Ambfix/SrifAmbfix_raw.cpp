/// One level of the resolution, from the float state to the constraints and the record.

#include "Core/Ambfix/SrifAmbfix_raw.h"

#include <cstring>

#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

enum Layer { kEwl, kWl, kN1 };

/// A level's share of the pipeline: `form` makes the candidates, `constrain` applies their integers.
template <typename Form, typename Constrain>
void s_resolveLevel(const char* tag, const Upd_ambconfig& cfg, bool flag, SrifFilter* filter,
                    const Updc* updc, int* s0, double* ratio, Form form, Constrain constrain) {
  int ifix[kMaxSat] = {}, flags[kMaxSat] = {};
  std::vector<double> Qamb, Q, x;
  std::vector<int> idx;
  int nlist = 0, n = 0;
  const int nc = SrifAmbfix_raw::s_ambCovariance(filter, Qamb);
  SrifAmbfix_raw::s_raw_pickValid_s0(tag, cfg, updc, flag, filter, s0);
  if (nc > 0) n = form(Qamb.data(), nc, Q, x, idx, &nlist);
  if (n > 0 &&
      SrifAmbfix_raw::s_raw_ddsrch_lambda(cfg.m_successRate, Q.data(), nlist, filter->m_sig0, x.data(),
                                          idx.data(), s0, n, ifix, flags, ratio) &&
      !constrain(ifix, flags)) {
    std::fill_n(flags, kMaxSat, 0);
  }
  SrifAmbfix_raw::s_raw_update_record(tag, filter, x.data(), idx.data(), n, ifix, flags, s0);
}

}  // namespace

void SrifAmbfix_raw::s_raw_resolve_wl(const char* tag, SrifFilter* filter, const Updc* updc, int* s0) {
  const bool extra = std::strcmp(tag, "ewl") == 0;
  const Upd_ambconfig& cfg = s_config().m_ambconfig[extra ? kEwl : kWl];
  s_resolveLevel(
      tag, cfg, false, filter, updc, s0, extra ? &filter->m_ratio_ewl : &filter->m_ratio_wl,
      [&](const double* Qamb, int nc, auto& Q, auto& x, auto& idx, int* nlist) {
        return s_raw_form_wl_vari(tag, cfg, updc, filter, false, Qamb, nc, s0, Q, x, idx, nlist);
      },
      [&](const int* ifix, const int* flags) {
        return s_raw_coninfs_wl(tag, cfg, filter, updc, ifix, flags, s0);
      });
}

void SrifAmbfix_raw::s_raw_resolve_n1(SrifFilter* filter, const Updc* updc, int* s0) {
  s_resolveLevel(
      "n1", s_config().m_ambconfig[kN1], true, filter, updc, s0, &filter->m_ratio,
      [&](const double* Qamb, int nc, auto& Q, auto& x, auto& idx, int* nlist) {
        return s_raw_form_n1_vari(updc, filter, true, Qamb, nc, s0, Q, x, idx, nlist);
      },
      [&](const int* ifix, const int* flags) { return s_raw_coninfs_nl(filter, updc, ifix, flags, s0); });
}

void SrifAmbfix_raw::s_raw_resolve_NL(SrifFilter* filter, const Updc* updc, int* s0) {
  s_resolveLevel(
      "n1", s_config().m_ambconfig[kN1], true, filter, updc, s0, &filter->m_ratio,
      [&](const double* Qamb, int nc, auto& Q, auto& x, auto& idx, int* nlist) {
        return s_raw_form_NL_vari(updc, filter, true, Qamb, nc, s0, Q, x, idx, nlist);
      },
      [&](const int* ifix, const int* flags) { return s_raw_coninfs_NL(filter, updc, ifix, flags, s0); });
}

}  // namespace tarvio
