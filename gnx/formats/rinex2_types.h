#pragma once
/// \file rinex2_types.h
/// Observation types of RINEX 2, which do not say how a signal was tracked, by their RINEX 3 names.

#include <string>
#include <string_view>

namespace gnx {

/// What tells the tracking apart that a type of RINEX 2 leaves open.
struct Tracking {
  std::string receiver;    ///< type; makers track the same signal by data, pilot or both
  bool civilFirst = true;  ///< the file has C1, with which L1, D1 and S1 go
  /// Whether the satellite has P2, with which L2, D2 and S2 then go. Where it is there receivers measure the
  /// second phase with it, also when C2 stands beside it.
  bool preciseSecond = true;
};

/// "C1C" of "C1" and so on; "" for a type that the system does not have.
std::string rinex3Type(char system, std::string_view type, const Tracking& tracking);

}  // namespace gnx
