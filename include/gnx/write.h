#pragma once
/// \file write.h
/// Records as files: observations, broadcast messages, corrections, products. Writers throw an InputError
/// when a file cannot be written.

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "gnx/records.h"

namespace gnx {

/// Writes a RINEX 3.04 observation file epoch by epoch. `header.types` gives the observation types by system
/// letter; a value that an epoch lacks, or that does not fit F14.3, leaves its field blank.
class RinexObsWriter {
 public:
  RinexObsWriter(const std::filesystem::path& path, const ObsHeader& header, const GpsTime& first);
  void write(const ObsEpoch& epoch);

 private:
  void check();

  std::filesystem::path m_path;
  ObsHeader m_header;
  std::ofstream m_out;
};

/// Writes a mixed RINEX 3.04 navigation file (GPS, Galileo, BeiDou, QZSS), messages in the order given.
/// BeiDou times are written in BDT.
void writeRinexNav(const std::filesystem::path& path, const std::vector<BroadcastEph>& messages);

/// Update intervals by their indicator, s (RTCM 10403.3, DF391).
inline constexpr std::array<int, 16> kUpdateIntervals = {1,   2,   5,   10,  15,   30,   60,   120,
                                                         240, 300, 600, 900, 1800, 3600, 7200, 10800};
/// The indicator of the longest of these intervals that is not above `seconds`.
int updateIntervalIndicator(int seconds);

/// A block of corrections as text (see CorrectionReader), every line ended. The indicators of phase biases
/// are those of dispersive and Melbourne-Wuebbena consistency.
std::string ssrText(const SsrBlock& block);

/// Writes blocks one after the other.
class SsrWriter {
 public:
  explicit SsrWriter(const std::filesystem::path& path);
  void write(const SsrBlock& block);

 private:
  std::filesystem::path m_path;
  std::ofstream m_out;
};

// ---- a stream as products ----

/// How a recorded stream is turned into orbits, clocks and biases.
struct ProductPlan {
  double orbitInterval_s = 30.0;  ///< epochs on whole multiples; 0 = that of the stream's clocks
  double clockInterval_s = 0.0;   ///< epochs on whole multiples; 0 = those of the stream
  double biasInterval_s = 30.0;   ///< biases change no faster
  std::optional<GpsTime> from{}, to{};
};

/// Position and clock of a satellite at an epoch.
struct ProductPoint {
  Vector3 position{};  ///< Earth-fixed, m
  double clock = 0.0;  ///< s
};

/// Orbits, clocks and biases of a stretch of time.
struct StreamProducts {
  double orbitInterval_s = 0.0;
  std::map<std::int64_t, std::map<SatName, ProductPoint>> orbits;  ///< by epoch, ms since 1970, GPS time
  std::map<std::int64_t, std::map<SatName, double>> clocks;        ///< s; likewise
  std::vector<BiasRow> biases;                                     ///< s, to be subtracted
  std::set<SatName> satellites;                                    ///< of orbits and clocks
  long withoutMessage = 0;   ///< corrections whose broadcast message is not in the files
  long withoutAntenna = 0;   ///< orbits of satellites without antenna offsets, left out
  long discontinuities = 0;  ///< of phase biases: a file tells of them by a new value alone
};

/// Turns recorded corrections into products.
///
/// Orbit: the broadcast message that a correction names, moved by the correction; the reference point is that
/// of the stream, or with an antenna file the centre of mass. Clock: broadcastClock() plus the correction, so
/// that the same corrections come back when the product is turned into a stream again. Biases change their
/// sign: streams add, files subtract.
/// \param ssr    files of corrections, one after the other in time
/// \param nav    navigation files with the messages that they correct
/// \param antex  antenna file; "": positions stay those of the stream's reference point
StreamProducts streamProducts(const std::vector<std::string>& ssr, const std::vector<std::string>& nav,
                              const std::filesystem::path& antex, const ProductPlan& plan);

struct ProductFileOptions {
  std::string frame = "ITRF";           ///< at most 5 characters
  std::vector<std::string> comments{};  ///< at most 60 characters each
  GpsTime made{};                       ///< when the files are made, UTC
};

/// SP3-d: positions and clocks at every epoch from the first to the last; what is missing is marked so.
void writeOrbitFile(const std::filesystem::path& file, const StreamProducts& products,
                    const ProductFileOptions& options);
/// RINEX clock 3.00.
void writeClockFile(const std::filesystem::path& file, const StreamProducts& products,
                    const ProductFileOptions& options);
/// Bias-SINEX 1.00: observable-specific biases in nanoseconds.
void writeBiasFile(const std::filesystem::path& file, const StreamProducts& products,
                   const ProductFileOptions& options);

}  // namespace gnx
