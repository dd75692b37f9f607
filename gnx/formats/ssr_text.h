#pragma once
/// \file ssr_text.h
/// State-space corrections in text form, one block a message.
///
/// A block is a header line and n lines, one a satellite:
///
///     > ORBIT 2021 03 19 12 00 00.0 5 18 CLAS     epoch (GPS time), interval indicator, n, source
///     ORBIT       sat IOD radial along cross [m]  rates of the three [m/s]
///     CLOCK       sat IOD C0 [m] C1 [m/s] C2 [m/s^2]
///     CODE_BIAS   sat n  (signal bias[m]) * n
///     PHASE_BIAS  a line with two indicators first; sat yaw[deg] rate[deg/s] n
///                 (signal bias[m] integer wide-lane discontinuity) * n
///
/// Signs and units are those of RTCM SSR (records.h). Interval indicator: RTCM 10403.3, DF391.

#include <string>
#include <string_view>
#include <vector>

#include "gnx/records.h"
#include "text/text_reader.h"

namespace gnx {

/// Reads a file block by block. Blocks of other kinds (VTEC, ...) are skipped but counted.
/// Throws InputError for damage.
class SsrTextReader {
 public:
  explicit SsrTextReader(const std::string& path) : m_reader(path) {}

  /// The next block of a known kind; storage of `block` is reused. False at the end.
  bool next(SsrBlock& block);
  /// Number in the file, from 1, of the block delivered last; unknown kinds count.
  long blockNumber() const { return m_number; }

 private:
  struct Head {
    std::string_view kind;
    int count = 0;
  };

  Head readHead(std::string_view line, SsrBlock& block);
  void skipBlock();
  void readLines(int count, SsrBlock& block);
  void readSatLine(SsrBlock& block);
  void readBiases(SsrBlock& block, const SatName& sat);
  double real(std::size_t word, const SatName& sat, const char* field) const;
  int integer(std::size_t word, const SatName& sat, const char* field) const;

  TextReader m_reader;
  std::vector<std::string_view> m_words;
  long m_number = 0;
};

}  // namespace gnx
