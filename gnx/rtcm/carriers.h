#pragma once
// Carrier frequencies of the signals of observation messages.

#include <optional>

#include "gnx/signal.h"

namespace gnx::rtcm {

/// Hz; nothing for an unknown band. Satellites of GLONASS send on their channels.
inline std::optional<double> carrierOf(char system, char band, int channel) {
  constexpr double kNavicS = 2492.028e6, kFirstStep = 0.5625e6, kSecondStep = 0.4375e6;
  if (system == 'I' && band == '9') return kNavicS;
  const auto frequency = carrierFrequency(system == 'S' || system == 'I' ? 'G' : system, band);
  if (!frequency || system != 'R') return frequency;
  return *frequency + channel * (band == '1' ? kFirstStep : band == '2' ? kSecondStep : 0.0);
}

}  // namespace gnx::rtcm
