/// The filter of the running system: the float estimate and the residuals that belong to it.

#include "Core/Ambfix/SrifFilter_iar.h"

#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"

namespace tarvio {

void SrifFilter_iar::v_onFilterEstimate() {
  SrifFilter::v_onFilterEstimate();
  const Deploy& config = s_config();
  if (nobs < 1 || !config.m_liar) return;
  for (const Upd_ambconfig& layer : config.m_ambconfig) {
    if (!layer.m_resolution || m_resolutionReported) continue;
    m_resolutionReported = true;
    Logtrace::m_logStatInfo(
        "layer %s: integer resolution is not available in this build, the solution stays float\n",
        layer.m_tag.c_str());
  }
  m_get_resi(resi_fix);
}

}  // namespace tarvio
