/// Outlier treatment on plain phase residuals.

#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Filter/SrifFilter_dia.h"

namespace tarvio {

void SrifFilter::m_onDia_batch_rescheck() {
  OutlierMode mode;
  mode.forceLimit = 0.1;
  mode.holdCycles = mode.holdMetres = s_has(s_config().m_obscomb, "RAW");
  OutlierLoop(*this, mode).m_run();
}

}  // namespace tarvio
