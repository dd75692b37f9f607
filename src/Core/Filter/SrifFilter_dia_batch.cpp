/// Outlier treatment on scaled residuals: phases first, then codes.

#include <limits>

#include "Core/Filter/SrifFilter.h"
#include "Core/Filter/SrifFilter_dia.h"

namespace tarvio {

void SrifFilter::m_onDia_batch() {
  OutlierMode mode;
  mode.afif = true;
  mode.codeAfter = true;
  mode.scaled = true;
  mode.forceLimit = std::numeric_limits<double>::infinity();
  mode.holdCycles = true;
  OutlierLoop(*this, mode).m_run();
}

}  // namespace tarvio
