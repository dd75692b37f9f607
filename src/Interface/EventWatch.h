#pragma once
/// \file EventWatch.h
/// Turns what happens to the engine into events of the CallBackCenter.
///
/// Every event carries "mjd" and "sod" (GPS time). Further values:
///
///   fix_gained     fixed (satellites), ratio
///   fix_lost       reason: restart, norows (no observation was used), unresolved; status of the epoch
///   satellite_in   satellite, elevation (degrees): it has rows in the filter again
///   satellite_out  satellite, elevation; reason, when the account of observations is kept: "unobserved", or
///                  its word for the first value of the satellite that was not used
///   restart        reason: request (by the host) or interval (of periodic restarts)
///   configuration  file, satellites, systems, interval (s)
///   resumed        a state of an earlier run was tried: held (satellites whose arcs go on), broken (names of
///                  those whose arcs end); why, when everything begins anew
///
/// The state is followed whether anybody listens or not; texts are made for listeners alone.

#include <bitset>
#include <ctime>

#include "Common/Constants.h"
#include "Core/Filter/ResumeTrial.h"

namespace tarvio {

class Deploy;
class SrifFilter;

namespace event {
inline constexpr char kFixGained[] = "fix_gained";
inline constexpr char kFixLost[] = "fix_lost";
inline constexpr char kSatelliteIn[] = "satellite_in";
inline constexpr char kSatelliteOut[] = "satellite_out";
inline constexpr char kRestart[] = "restart";
inline constexpr char kConfiguration[] = "configuration";
inline constexpr char kResumed[] = "resumed";
inline constexpr const char* kAll[] = {kFixGained, kFixLost,       kSatelliteIn, kSatelliteOut,
                                       kRestart,   kConfiguration, kResumed};
}  // namespace event

class EventWatch {
 public:
  void m_loaded(const Deploy& deploy);
  /// Behind a restart that the host asked for.
  void m_restarted(const SrifFilter& filter);
  void m_resumed(const SrifFilter& filter, const ResumeTrial::Verdict& verdict);
  /// Behind the output of an epoch, while its rows stand.
  void m_epoch(const SrifFilter& filter);

 private:
  void m_compareFix(const SrifFilter& filter, bool restarted);
  void m_compareSatellites(const SrifFilter& filter);

  std::bitset<kMaxSat> m_inside;  ///< satellites with rows in the last epoch
  bool m_fixed = false;
  bool m_requested = false;  ///< a restart by the host since the last epoch
  std::time_t m_reset = -1;  ///< beginning of the filter's state, as the filter keeps it
};

}  // namespace tarvio
