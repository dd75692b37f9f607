/// The levels of ionosphere-free observations by their tags.

#include "Core/Ambfix/SrifAmbfix_if.h"

#include "Core/Ambfix/LevelResolution.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

namespace {

/// Both levels ask for what the level before has fixed.
IonosphereFreeForm s_form(Level level) { return {level, s_config().m_settingsOf(level), true}; }

}  // namespace

void SrifAmbfix_if::s_if_resolve_wl(const std::string& prosys, SrifFilter* filter, const Updc* updc,
                                    int* s0) {
  LevelResolution(s_form(Level::wideLane), filter, updc).m_resolve(prosys, s0, __func__);
}

void SrifAmbfix_if::s_if_resolve_n1(const std::string& prosys, SrifFilter* filter, const Updc* updc,
                                    int* s0) {
  LevelResolution(s_form(Level::last), filter, updc).m_resolve(prosys, s0, __func__);
}

void SrifAmbfix_if::s_if_pickValid_s0(const std::string& prosys, const char* tag, const Upd_ambconfig& cfg,
                                      const Updc* updc, bool flag, SrifFilter* filter, int* s0) {
  const IonosphereFreeForm form(s_levelOf(tag), cfg, flag);
  LevelResolution(form, filter, updc).m_pickReferences(prosys, s0);
}

int SrifAmbfix_if::s_if_form_wl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                                     const int* s0, std::vector<double>& Q, std::vector<double>& x,
                                     std::vector<int>& idx, int* nlist) {
  return LevelResolution(s_form(Level::wideLane), filter, updc)
      .m_formProblem(Qamb, nc, s0)
      .m_handOver(Q, x, idx, nlist);
}

int SrifAmbfix_if::s_if_form_nl_vari(const Updc* updc, SrifFilter* filter, const double* Qamb, int nc,
                                     const int* s0, std::vector<double>& Q, std::vector<double>& x,
                                     std::vector<int>& idx, int* nlist) {
  return LevelResolution(s_form(Level::last), filter, updc)
      .m_formProblem(Qamb, nc, s0)
      .m_handOver(Q, x, idx, nlist);
}

bool SrifAmbfix_if::s_if_coninfs_wl(const char*, SrifFilter* filter, const Updc* updc, const int* ifix,
                                    const int* flags, const int* s0) {
  return LevelResolution(s_form(Level::wideLane), filter, updc).m_constrain({ifix, flags}, s0);
}

bool SrifAmbfix_if::s_if_coninfs_n1(const char*, SrifFilter* filter, const Updc* updc, const int* ifix,
                                    const int* flags, const int* s0) {
  return LevelResolution(s_form(Level::last), filter, updc).m_constrain({ifix, flags}, s0);
}

void SrifAmbfix_if::s_if_update_record(const char* tag, SrifFilter* filter, const double* x, const int* idx,
                                       int n, const int* ifix, const int* flags, const int* s0) {
  SrifAmbfix_raw::s_raw_update_record(tag, filter, x, idx, n, ifix, flags, s0);
}

}  // namespace tarvio
