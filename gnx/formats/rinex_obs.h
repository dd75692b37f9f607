#pragma once
/// \file rinex_obs.h
/// Observations of RINEX 3.00 to 4.02.
///
/// Reference: RINEX, The Receiver Independent Exchange Format, version 3.05 and 4.02 (IGS/RTCM),
/// sections on observation files.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnx/records.h"
#include "text/text_reader.h"

namespace gnx {

/// Reads a file epoch by epoch.
///
/// - Epochs come in GPS time, whatever the file's time system.
/// - Flags 0 and 1 (data; after a power failure, then every phase is marked as slipped) deliver an
///   epoch; the records of events 2 to 5 are read as header lines, so that new observation types
///   hold from there on; slip records (6) are skipped.
/// - Satellites of a system without observation types and unknown types are left out, blank fields
///   and trailing fields that are missing are absent values, scale factors are applied.
/// - Phases are taken as they stand: shifts of the header are already applied by the writer.
///
/// Throws InputError for anything that is not an observation file or is damaged.
class RinexObsReader {
 public:
  explicit RinexObsReader(const std::string& path);

  const ObsHeader& header() const { return m_header; }
  /// The next epoch; storage of `epoch` is reused. False at the end of the file.
  bool next(ObsEpoch& epoch);

 private:
  /// One observation column of a system.
  struct Column {
    char kind = 0;   ///< C, L, D, S; 0 = not used
    int signal = 0;  ///< index in Layout::codes
    double scale = 1.0;
  };
  struct Layout {
    std::vector<std::array<char, 3>> codes;
    std::vector<Column> columns;
  };
  struct EpochLine {
    std::optional<GpsTime> time;
    int flag = 0, count = 0;
  };

  void readHeaderLine(std::string_view text, std::string_view label);
  void readTypes(std::string_view text);
  void readScale(std::string_view text);
  std::array<double, 3> readTriple(std::string_view text, const char* field) const;
  void makeLayouts();
  bool readEpochLine(EpochLine& head);
  void readEvent(const EpochLine& head);
  void readSats(const EpochLine& head, ObsEpoch& epoch);
  void readSignals(std::string_view line, const Layout& layout, bool slipped, SatObs& sat);

  TextReader m_reader;
  ObsHeader m_header;
  std::string m_timeSystem;
  char m_system = ' ';                                     ///< system of the types being continued
  std::map<char, std::size_t> m_announced;                 ///< number of types by system
  std::map<std::pair<char, std::string>, double> m_scale;  ///< by system and type ("" = all)
  char m_scaleSystem = ' ';
  double m_scaleFactor = 1.0;
  std::array<Layout, 26> m_layouts;
  std::optional<GpsTime> m_previous;
};

}  // namespace gnx
