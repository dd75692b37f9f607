/// Outlier loop on plain phase residuals.

#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

void SrifFilter::m_onDia_batch_rescheck() {
  DiaMode mode;
  mode.afif = false;
  mode.codeAfter = false;
  mode.scaled = false;
  mode.forceLimit = 0.1;
  mode.holdCycles = mode.holdMetres = s_has(s_config().m_obscomb, "RAW");
  m_runDia(mode);
}

}  // namespace tarvio
