#pragma once
/// \file galileo_messages.h
/// To which of the two kinds of Galileo messages the corrections of a stream refer.
///
/// F/NAV (clock of E1 and E5a) and I/NAV (clock of E1 and E5b) hold the same orbit under the same issue of
/// data. Their clocks are up to 0.3 m apart and step by different centimetres from issue to issue, and no
/// correction says which of them it corrects. The corrected clock tells: it goes on steadily across a change
/// of issue.

#include <limits>
#include <string>
#include <vector>

#include "gnx/deployment.h"
#include "gnx/ephemeris.h"

namespace gnx {

/// What changes of issue say.
struct GalileoEvidence {
  int changes = 0;  ///< of satellites whose messages of both kinds and both issues are known
  double share =
      0.0;  ///< of the difference of the kinds that F/NAV leaves in corrected clocks: 0 F/NAV, 1 I/NAV
  double sigma = std::numeric_limits<double>::infinity();  ///< of the share

  /// Far from what F/NAV would leave, and from half way.
  bool inav() const { return share - 0.5 > 3.0 * sigma; }
};

/// Compares the clocks of SSR text files with messages.
GalileoEvidence galileoEvidence(const std::vector<std::string>& ssrFiles, const NavData& messages);

/// Leaves out F/NAV and gives I/NAV its place: declared as F/NAV, which is what the engine takes.
void useInav(NavData& messages);

/// F/NAV, unless it is to be I/NAV, the corrections tell of I/NAV, or there is nothing else. \return a remark
/// on I/NAV, else ""
std::string chooseGalileoMessages(const std::vector<std::string>& ssrFiles, NavData& messages,
                                  GalileoKind kind = GalileoKind::automatic);

}  // namespace gnx
