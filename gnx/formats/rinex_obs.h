#pragma once
/// \file rinex_obs.h
/// Observations of RINEX 2.00 to 4.02, plain or in compact form.
///
/// Reference: RINEX, The Receiver Independent Exchange Format, versions 2.11, 3.05 and 4.02 (IGS/RTCM),
/// sections on observation files.

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "formats/observation_text.h"
#include "gnx/records.h"

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
/// - Types of version 2 get their RINEX 3 names; header().types then tells what the first epochs hold.
///
/// Throws InputError for anything that is not an observation file or is damaged.
class RinexObsReader {
 public:
  explicit RinexObsReader(const std::string& path);

  const ObsHeader& header() const { return m_header; }
  /// The next epoch; storage of `epoch` is reused. False at the end of the file.
  bool next(ObsEpoch& epoch);

 private:
  /// For a look at the first epochs of a file of version 2.
  struct LookAhead {};
  RinexObsReader(const std::string& path, LookAhead);

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
  Layout makeLayout(char system, const std::vector<std::string>& types) const;
  bool readEpochLine(EpochLine& head);
  void readEvent(const EpochLine& head);
  void readSats(const EpochLine& head, ObsEpoch& epoch);
  SatName readSat(const EpochLine& head, int number, const GpsTime& time);
  [[noreturn]] void refuseSat(std::string_view text, int number, int count) const;
  void readSignals(std::string_view line, const Layout& layout, bool slipped, SatObs& sat);

  // version 2
  bool isOld() const { return m_header.version < 3.0; }
  void readOldTypes(std::string_view text);
  void readWavelengthFactors(std::string_view text);
  void makeOldLayouts();
  void lookAhead(const std::string& path);
  bool readOldEpochLine(EpochLine& head);
  void readOldNames(std::string_view line, int count);
  SatName readOldSat(int number, const GpsTime& time);
  void skipOldRecords(int count);
  const Layout& oldLayout(const SatName& sat);
  void markHalfCycles(SatObs& sat) const;

  ObservationText m_reader;
  ObsHeader m_header;
  std::string m_timeSystem;
  char m_system = ' ';                                     ///< system of the types being continued
  std::map<char, std::size_t> m_announced;                 ///< number of types by system
  std::map<std::pair<char, std::string>, double> m_scale;  ///< by system and type ("" = all)
  char m_scaleSystem = ' ';
  double m_scaleFactor = 1.0;
  std::array<Layout, 26> m_layouts;
  std::string_view m_record;  ///< all observations of the satellite being read, behind its name

  // version 2
  struct Factors {
    int first = 1, second = 1;  ///< 2: the phase's ambiguity is a multiple of half a cycle
  };
  char m_fileSystem = ' ';
  std::vector<std::string> m_oldTypes;
  std::size_t m_oldAnnounced = 0;
  std::array<Layout, 26> m_civilLayouts;  ///< for satellites without P2
  std::set<SatName> m_withP2;             ///< satellites that have it somewhere
  std::size_t m_p2 = 0;                   ///< its column, number of types when there is none
  std::vector<SatName> m_names;           ///< of the epoch
  std::string m_joined;                   ///< lines of a satellite behind each other
  Factors m_factors;
  std::map<SatName, Factors> m_satFactors;
  std::optional<GpsTime> m_previous;
};

}  // namespace gnx
