#pragma once
/// \file integers.h
/// When and for which satellites a run may resolve integers, judged by its corrections before it begins.
///
/// A wrong integer is worse than none: the position is then called fixed and is decimetres off. So integers
/// stay unresolved where corrections cannot carry them, and every reason is told in a sentence.
///
/// No format of biases tells whether phase biases were estimated with the antenna offsets of the satellites
/// or without. Offsets that differ between two frequencies move wide-lanes by up to 2.2 cycles, each block of
/// satellites by its own amount, so the wide-lane fractions of a run agree under one of the two hypotheses
/// only, unless all satellites in sight have the same offsets.

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gnx/satellite.h"
#include "gnx/time.h"

namespace gnx {

/// Wide-lane fraction of a satellite's observations, freed of the biases of the corrections. With biases that
/// fit it is the same for all satellites of a system: the receiver's.
struct WideLaneFraction {
  SatName sat;
  double cycles = 0.0;        ///< mean fraction, within half a cycle, observations as they are
  double offsetCycles = 0.0;  ///< what satellite antenna offsets add to it
  double seconds = 0.0;       ///< of observations behind it
};

/// How phase biases were estimated.
enum class BiasDatum {
  withOffsets,     ///< they fit observations that are referred to the centre of mass
  withoutOffsets,  ///< they fit observations as they are
  noMatter,        ///< offsets move all wide-lanes of a system alike
  unknown          ///< the observations do not tell
};

/// Fractions about their common value, cycles.
struct Scatter {
  double rms = 0.0;
  std::map<SatName, double> residuals;
};

/// The two hypotheses.
struct DatumEvidence {
  BiasDatum datum = BiasDatum::unknown;
  Scatter with, without;
};

/// The judgement.
struct IntegerPolicy {
  bool resolved = true;
  double clockInterval_s = 0.0;      ///< above 0: integers at the epochs of these clocks alone
  std::vector<GpsTime> clockEpochs;  ///< in order
  DatumEvidence evidence;
  std::map<std::string, double> blocksWith, blocksWithout;  ///< scatter by antenna block, cycles
  bool makeUpForOffsets = false;      ///< biases know no offsets, the engine's model does
  std::map<SatName, double> misfits;  ///< left float: wide-lane fraction beside the others', cycles
  std::vector<std::string> remarks;   ///< sentences

  bool resolvesAt(const GpsTime& t) const;
};

/// What a host knows about corrections that it decodes itself; read() finds it in the files.
struct CorrectionFacts {
  /// Whose solution they are, such as "GRG"; names that differ belong to different solutions, "" is not
  /// known.
  std::string orbits{}, clocks{}, phaseBiases{};
  bool mixed = false;                  ///< the host wants integers even from different solutions
  bool broadcastClocks = false;        ///< clocks are those of broadcast messages
  double clockInterval_s = 0.0;        ///< 0: those of a stream, often enough
  double sparseClocks_s = 60.0;        ///< clocks further apart serve integers at their own epochs alone
  std::vector<GpsTime> clockEpochs{};  ///< in order; needed for such clocks
  bool withoutOffsets = false;         ///< where observations do not tell: biases know no antenna offsets
};

class Deployment;
struct StreamStart;
struct BroadcastEph;
struct CorrectionBatch;
struct ObsEpoch;

/// The judgement for a host of its own records: it gets what the engine gets and says which integers the
/// corrections carry. Ten minutes of observations are the least; read() takes a whole day ahead. A host that
/// cannot read ahead leaves the engine float (Engine::obey a policy that is not `resolved`), asks after ten
/// minutes and now and then afterwards.
class IntegerJudge {
 public:
  /// \param start  what the receiver observes and which signals have biases; its `first` must be known
  /// \throws UsageError, InputError
  IntegerJudge(const Deployment& deployment, const StreamStart& start);
  ~IntegerJudge();
  IntegerJudge(IntegerJudge&&) noexcept;
  IntegerJudge& operator=(IntegerJudge&&) noexcept;

  void take(const BroadcastEph& eph);  ///< for elevations
  void take(const CorrectionBatch& batch);
  void take(const ObsEpoch& epoch);
  /// By all that was taken so far; for Engine::obey.
  IntegerPolicy verdict(const CorrectionFacts& facts = {}) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

/// The judgement as a JSON file.
void writeIntegerPolicy(const std::filesystem::path& file, const IntegerPolicy& policy);

}  // namespace gnx
