#pragma once
/// \file observation_text.h
/// Lines of a RINEX observation file, expanded when the file is in compact form (Hatanaka, "CRINEX").
///
/// Reference: Y. Hatanaka, A Compression Format and Tools for GNSS Observation Data, Bulletin of the
/// Geographical Survey Institute 55, 2008.

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "text/text_reader.h"

namespace gnx {

/// A number that is given by its differences in time, the highest order first told by a token "n&value".
class DifferenceArc {
 public:
  static constexpr int kHighestOrder = 9;

  /// Begins with a value.
  void begin(int order, std::int64_t value);
  /// Adds the newest difference. False when no arc is begun or the sum is out of range.
  bool add(std::int64_t difference);
  void end() { m_order = -1; }
  std::int64_t value() const { return m_difference[0]; }

 private:
  int m_order = -1, m_known = 0;
  std::array<std::int64_t, kHighestOrder + 1> m_difference{};
};

/// The text of a file as its writer had it before compression, but for the receiver's clock offsets, which
/// are left out. Line numbers are those of the file as it stands. Plain files pass unchanged.
class ObservationText final : public TextReader {
 public:
  using TextReader::TextReader;

 protected:
  bool advance(std::string_view& line) override;

 private:
  struct SatState {
    std::vector<DifferenceArc> arcs;
    std::string flags;
    long epoch = 0;  ///< in which the satellite was last seen
  };

  bool recognise(std::string_view& line);
  bool expand(std::string_view raw);
  void noteTypes(std::string_view line);
  bool readEpochText(std::string_view raw);
  void copyEvent(int lines);
  void expandEpoch(int satellites);
  std::string_view needLine();
  void expandSatellite(const std::string& name);
  std::string readFields(std::string_view raw, SatState& state);
  void appendValue(std::string_view token, DifferenceArc& arc, std::string& text) const;
  void appendLines(const std::string& name, const std::string& fields, const std::string& flags);

  bool m_begun = false, m_inHeader = true;
  int m_version = 0;                    ///< of the compact form: 0 plain, 1 for RINEX 2, 3 for RINEX 3 and 4
  std::map<char, std::size_t> m_types;  ///< number by system; RINEX 2 has one for all, ' '
  std::string m_epoch;                  ///< complete text of the latest epoch line, "" after an event
  long m_epochs = 0;
  std::map<std::string, SatState> m_sats;
  std::vector<std::string> m_lines;  ///< expanded
  std::size_t m_given = 0;           ///< of them, delivered
};

}  // namespace gnx
