#pragma once
/// \file Constants.h
/// Sizes and physical constants that every subsystem shares.

namespace tarvio {

inline constexpr int kMaxSat = 160;  ///< rows of the satellite table
inline constexpr int kSys = 7;       ///< systems
inline constexpr int kFreq = 4;      ///< frequency slots of a system
inline constexpr int kObs = 8;       ///< an observation row: phases 0..3, codes 4..7

/// Systems by index: GPS, GLONASS, Galileo, BDS-3, BDS-2, QZSS, SBAS.
inline constexpr char SYS[] = "GRECBJS";

inline constexpr double kLight = 299792458.0;              ///< m/s
inline constexpr double kRadToDeg = 57.29577951308232;     ///< degrees per radian
inline constexpr double kDegToRad = 0.017453292519943295;  ///< radians per degree
inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kDay = 86400.0;  ///< s
inline constexpr double kNone = 999.0;   ///< "no value" of biases and sums

/// Epochs are a pair of integer modified Julian day and seconds of day, GPS time.

}  // namespace tarvio
