// The entry points of the engine in this process.

#include "GNX_SDK.h"
#include "gnx/adapt.h"

namespace gnx {

LinkedBoundary::LinkedBoundary() : m_eph(GNX_IO::kMaxSatellite), m_glonass(GNX_IO::kMaxSatellite) {}

void LinkedBoundary::inputMessage(int sat, const GNX_IO::eph_entry_t& eph) {
  m_eph.at(static_cast<std::size_t>(sat - 1)) = eph;
  GNX_IO::nav_t nav{};
  nav.eph = m_eph.data();
  nav.geph = m_glonass.data();
  GNX_inputEph(&nav, sat, 0);
}

void LinkedBoundary::inputMessage(int sat, int prn, const GNX_IO::geph_entry_t& eph) {
  m_glonass.at(static_cast<std::size_t>(prn - 1)) = eph;
  GNX_IO::nav_t nav{};
  nav.eph = m_eph.data();
  nav.geph = m_glonass.data();
  GNX_inputEph(&nav, sat, 0);
}

void LinkedBoundary::inputCorrections(GNX_IO::ssr_t* ssr) { GNX_inputSsr(ssr); }
void LinkedBoundary::inputBiases(GNX_IO::ssr_t* ssr) { GNX_inputSsrBias(ssr); }

void LinkedBoundary::inputEpoch(const GNX_IO::gtime_t& time, std::span<GNX_IO::obs_entry_t> entries) {
  GNX_IO::obs_t obs{static_cast<std::int32_t>(entries.size()), entries.data()};
  GNX_inputObs(time, &obs);
}

}  // namespace gnx
