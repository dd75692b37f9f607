/// The levels of separate frequencies by their tags.

#include "Core/Ambfix/SrifAmbfix_raw.h"

#include "Common/TriangleInverse.h"
#include "Core/Ambfix/LevelResolution.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

/// Of the two wide-lane levels.
Level s_wideLaneOf(const char* tag) {
  const Level level = s_levelOf(tag);
  return level == Level::extraWideLane ? level : Level::wideLane;
}

const Upd_ambconfig& s_lastSettings() { return s_config().m_settingsOf(Level::last); }

}  // namespace

// ---- what may enter, references, candidates ----

bool SrifAmbfix_raw::s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ia, int ib, bool flag,
                                    const Upd_ambconfig& cfg) {
  return s_mayEnter(s_levelOf(tag), filter, isat, ia, ib, flag, cfg);
}

bool SrifAmbfix_raw::s_validamb_iar(const char* tag, SrifFilter* filter, int isat, int ifreq, bool flag,
                                    const Upd_ambconfig& cfg) {
  return s_mayEnter(s_levelOf(tag), filter, isat, ifreq, flag, cfg);
}

void SrifAmbfix_raw::s_raw_pickValid_s0(const char* tag, const Upd_ambconfig& cfg, const Updc* updc,
                                        bool flag, SrifFilter* filter, int* s0) {
  const SeparateWideLane form(s_levelOf(tag), cfg, flag);
  LevelResolution(form, filter, updc).m_pickReferences(SYS, s0);
}

int SrifAmbfix_raw::s_ambCovariance(const SrifFilter* filter, std::vector<double>& Qamb) {
  const int npi = filter->npi, nc = filter->imtx - npi;
  Qamb.clear();
  if (nc < 1) return 0;
  // The ambiguities are the last columns of R, so their block of R^-1 is the inverse of their own
  // triangle, and the rest of R has no part in their covariance.
  const auto n = static_cast<std::size_t>(nc);
  const double* triangle = filter->infs + filter->iptx[npi] + npi;
  Qamb.resize(n * n);
  if (!s_covarianceOfTriangle(nc, triangle, filter->ldinfs, Qamb.data())) return 0;
  return nc;
}

int SrifAmbfix_raw::s_raw_form_wl_vari(const char* tag, const Upd_ambconfig& cfg, const Updc* updc,
                                       SrifFilter* filter, bool flag, const double* Qamb, int nc, int* s0,
                                       std::vector<double>& Q, std::vector<double>& x, std::vector<int>& idx,
                                       int* nlist) {
  return LevelResolution(SeparateWideLane(s_wideLaneOf(tag), cfg, flag), filter, updc)
      .m_formProblem(Qamb, nc, s0)
      .m_handOver(Q, x, idx, nlist);
}

int SrifAmbfix_raw::s_raw_form_n1_vari(const Updc* updc, SrifFilter* filter, bool, const double* Qamb, int nc,
                                       int* s0, std::vector<double>& Q, std::vector<double>& x,
                                       std::vector<int>& idx, int* nlist) {
  return LevelResolution(SeparateFirstFrequency(s_lastSettings()), filter, updc)
      .m_formProblem(Qamb, nc, s0)
      .m_handOver(Q, x, idx, nlist);
}

int SrifAmbfix_raw::s_raw_form_NL_vari(const Updc* updc, SrifFilter* filter, bool, const double* Qamb, int nc,
                                       int* s0, std::vector<double>& Q, std::vector<double>& x,
                                       std::vector<int>& idx, int* nlist) {
  return LevelResolution(SeparateNarrowLane(s_lastSettings()), filter, updc)
      .m_formProblem(Qamb, nc, s0)
      .m_handOver(Q, x, idx, nlist);
}

// ---- constraints and record ----

bool SrifAmbfix_raw::s_raw_coninfs_wl(const char* tag, const Upd_ambconfig& cfg, SrifFilter* filter,
                                      const Updc* updc, const int* ifix, const int* flags, const int* s0) {
  return LevelResolution(SeparateWideLane(s_wideLaneOf(tag), cfg, false), filter, updc)
      .m_constrain({ifix, flags}, s0);
}

bool SrifAmbfix_raw::s_raw_coninfs_nl(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                                      const int* s0) {
  return LevelResolution(SeparateFirstFrequency(s_lastSettings()), filter, updc)
      .m_constrain({ifix, flags}, s0);
}

bool SrifAmbfix_raw::s_raw_coninfs_NL(SrifFilter* filter, const Updc* updc, const int* ifix, const int* flags,
                                      const int* s0) {
  return LevelResolution(SeparateNarrowLane(s_lastSettings()), filter, updc).m_constrain({ifix, flags}, s0);
}

void SrifAmbfix_raw::s_raw_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx,
                                         int n, const int* ifix, const int* flags, const int* s0) {
  LevelProblem problem;
  problem.x.assign(x, x + n);
  problem.idx.assign(idx, idx + n);
  s_recordLevel(s_levelOf(tag), filter, problem, {ifix, flags}, s0);
}

// ---- one level ----

void SrifAmbfix_raw::s_raw_resolve_wl(const char* tag, SrifFilter* filter, const Updc* updc, int* s0) {
  const Level level = s_wideLaneOf(tag);
  const SeparateWideLane form(level, s_config().m_settingsOf(level), false);
  LevelResolution(form, filter, updc).m_resolve(SYS, s0);
}

void SrifAmbfix_raw::s_raw_resolve_n1(SrifFilter* filter, const Updc* updc, int* s0) {
  const SeparateFirstFrequency form(s_lastSettings());
  LevelResolution(form, filter, updc).m_resolve(SYS, s0);
}

void SrifAmbfix_raw::s_raw_resolve_NL(SrifFilter* filter, const Updc* updc, int* s0) {
  const SeparateNarrowLane form(s_lastSettings());
  LevelResolution(form, filter, updc).m_resolve(SYS, s0);
}

}  // namespace tarvio
