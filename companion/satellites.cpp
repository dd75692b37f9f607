/// \file satellites.cpp
/// Satellite numbers 1 to 207 and their three-character names.

#include <array>

#include "GNX_IO.h"

namespace GNX_IO {
namespace {

/// A run of consecutive numbers: `letter``firstPrn` has number `firstNumber`.
struct Range {
  char letter;
  int firstPrn, lastPrn, firstNumber;

  constexpr int lastNumber() const { return firstNumber + lastPrn - firstPrn; }
};

constexpr std::array kRanges{Range{'G', 1, 32, 1},  Range{'R', 1, 27, 33},  Range{'E', 1, 36, 60},
                             Range{'J', 1, 10, 96}, Range{'C', 1, 63, 106}, Range{'S', 20, 58, 169}};
static_assert(kRanges.back().lastNumber() == kMaxSatellite);

}  // namespace

void satno2id(int sat, char* id) {
  id[0] = '\0';
  for (const Range& range : kRanges) {
    if (sat < range.firstNumber || sat > range.lastNumber()) continue;
    const int prn = range.firstPrn + sat - range.firstNumber;
    id[0] = range.letter;
    id[1] = static_cast<char>('0' + prn / 10);
    id[2] = static_cast<char>('0' + prn % 10);
    id[3] = '\0';
    return;
  }
}

}  // namespace GNX_IO
