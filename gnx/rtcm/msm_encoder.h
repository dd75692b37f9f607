#pragma once
// Writes observations as multiple signal messages of type 7.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gnx/rtcm.h"
#include "rtcm/bits.h"

namespace gnx::rtcm {

class MsmEncoder {
 public:
  /// Payloads of all messages of an epoch.
  std::vector<BitWriter> encode(int station, const ObsEpoch& epoch);
  void learn(const GlonassEph& eph) { m_channels[eph.sat] = eph.channel; }

 private:
  /// A phase as it is sent: moved by whole cycles to its code at its start.
  struct Arc {
    std::int64_t start = 0;  ///< ms
    double moved = 0.0;      ///< cycles
  };
  struct Cell;
  struct Satellite;
  struct Part;

  std::optional<Satellite> prepare(const SatObs& sat, std::int64_t now);
  void preparePhase(const SatName& sat, const SignalObs& obs, double wavelength, double rough,
                    std::int64_t now, Cell& cell);
  static BitWriter write(const Part& part);

  std::map<SatName, int> m_channels;
  std::map<std::string, Arc> m_arcs;  ///< by satellite and signal
};

}  // namespace gnx::rtcm
