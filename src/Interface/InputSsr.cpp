// Orbit and clock corrections of the host into one batch for the store.

#include <algorithm>

#include "Common/Logtrace.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

constexpr double kMaxCorrection = 1.0e6;  ///< m, m/s: what is larger is no correction

bool s_setOrbit(const GNX_IO::ssr_t& source, int isat, int iod, SSRORB& batch) {
  if (!s_usableTime(source.t0_orb) || !s_usable(source.deph, 3, kMaxCorrection) ||
      !s_usable(source.ddeph, 3, kMaxCorrection)) {
    return false;
  }
  batch.m_sow = GNX_IO::time2gpst(source.t0_orb, &batch.m_wk);
  batch.m_iod[isat] = iod;
  std::copy(source.deph, source.deph + 3, batch.m_dorb[isat]);
  std::copy(source.ddeph, source.ddeph + 3, batch.m_dorb[isat] + 3);
  return true;
}

bool s_setClock(const GNX_IO::ssr_t& source, int isat, int iod, SSRCLK& batch) {
  if (!s_usableTime(source.t0_clk) || !s_usable(source.dclk, 3, kMaxCorrection)) return false;
  batch.m_sow = GNX_IO::time2gpst(source.t0_clk, &batch.m_wk);
  batch.m_iod[isat] = iod;
  std::copy(source.dclk, source.dclk + 3, batch.m_dclk[isat]);
  return true;
}

}  // namespace

void s_setSsrData(GNX_IO::ssr_t* ssr) {
  Controller* controller = Controller::s_getInstance();
  if (ssr == nullptr || controller->m_orbclk == nullptr) return;
  SSRORB orbit;
  SSRCLK clock;
  bool anyOrbit = false, anyClock = false;
  int refused = 0;
  for (int number = 1; number <= GNX_IO::kMaxSatellite; ++number) {
    GNX_IO::ssr_t& source = ssr[number - 1];
    if (source.update == 0) continue;
    source.update = 0;
    const int isat = controller->m_signals.m_row[number];
    if (isat < 0) continue;
    const bool bds = controller->m_deploy.m_cprn[isat][0] == 'C';
    const int iod = bds ? source.iod_bds : source.iod;
    // The batch has one tag: that of its last satellite.
    if (s_consume(source.mark_orb)) {
      if (s_setOrbit(source, isat, iod, orbit)) anyOrbit = true;
      else ++refused;
    }
    if (s_consume(source.mark_clk)) {
      if (s_setClock(source, isat, iod, clock)) anyClock = true;
      else ++refused;
    }
  }
  if (refused > 0) Logtrace::m_logStatInfo("%d corrections hold impossible numbers, refused\n", refused);
  if (anyOrbit || anyClock) {
    controller->m_orbclk->v_inputSsr(anyOrbit ? &orbit : nullptr, anyClock ? &clock : nullptr);
  }
}

}  // namespace tarvio
