// Makes the record of an epoch and calls the listeners.

#include "Interface/Results.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

GNX_EXT::Result s_record(const SrifFilter& filter) {
  GNX_EXT::Result result;
  result.time = {static_cast<std::int64_t>(mjd2time(filter.mjd, filter.sod)),
                 filter.sod - std::floor(filter.sod)};
  result.state = filter.m_solstat;
  result.fixed = filter.m_nfix;
  result.ratio = filter.m_ratio;
  result.sigma0 = filter.m_sig0;
  const int first = filter.i_ip(0);
  if (first < 0 || filter.m_solstat == kStateNone) return result;
  for (int i = 0; i < 3; ++i) result.position[i] = filter.m_pamt[static_cast<std::size_t>(first + i)].xest;
  std::copy_n(filter.m_solutionCovariance, 9, result.covariance);
  return result;
}

}  // namespace

Results& Results::s_getInstance() {
  static Results& results = *new Results;  // a host may remove its own at the very end
  return results;
}

void Results::m_epoch(const SrifFilter& filter) const {
  if (m_listeners.empty()) return;
  const GNX_EXT::Result result = s_record(filter);
  const auto listeners = m_listeners;  // a listener may remove itself
  for (const auto& [number, listener] : listeners) {
    try {
      listener(result);
    } catch (const std::exception& failure) {
      Logtrace::m_logStatInfo("a listener of results failed: %s\n", failure.what());
    } catch (...) {
      Logtrace::m_logStatInfo("a listener of results failed\n");
    }
  }
}

}  // namespace tarvio
