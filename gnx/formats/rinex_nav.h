#pragma once
/// \file rinex_nav.h
/// Broadcast messages of RINEX 3.00 to 4.02 navigation files.
///
/// Reference: RINEX, The Receiver Independent Exchange Format, version 3.05 and 4.02 (IGS/RTCM),
/// sections on navigation message files.

#include <array>
#include <string>
#include <vector>

#include "formats/records.h"

namespace gnx {

/// Upper bounds of the ranges of the user range accuracy indices, m (IS-GPS-200, 20.3.3.3.1.3).
inline constexpr std::array<double, 15> kAccuracyLimits_m = {
    2.4, 3.4, 4.85, 6.85, 9.65, 13.65, 24.0, 48.0, 96.0, 192.0, 384.0, 768.0, 1536.0, 3072.0, 6144.0};

/// Messages in the order of the files.
struct NavData {
  std::vector<BroadcastEph> keplerian;  ///< GPS, QZSS LNAV; Galileo I/NAV and F/NAV; BeiDou D1, D2
  std::vector<GlonassEph> glonass;
  std::vector<std::string> notes;  ///< messages left out because their content cannot be true
};

/// Reads one file and appends its messages. Times come in GPS time (BeiDou + 14 s, GLONASS by leap
/// seconds); seconds of week are placed in the week that puts them nearest to the time of clock, so
/// that a wrong week number does no harm. A transmission time that is blank or given as unknown
/// (0.9999e9) is left at {0, 0}.
///
/// SBAS, NavIC and unknown systems, and in version 4 the CNAV types, system time, Earth orientation
/// and ionosphere records, are skipped. Blank numbers are 0.
/// Throws InputError for damage.
void readRinexNav(const std::string& path, NavData& data);

/// Reads several files.
NavData readRinexNav(const std::vector<std::string>& paths);

}  // namespace gnx
