#pragma once
/// \file correction_watch.h
/// Follows the records of a run for corrections whose sign or reference point cannot be true. Both leave a
/// result that is wrong by decimetres and looks sound.

#include <map>
#include <optional>
#include <string>

#include "gnx/adapt.h"
#include "gnx/corrections.h"
#include "gnx/deployment.h"
#include "gnx/engine.h"
#include "gnx/solution.h"

namespace gnx {

enum class CorrectionFault { clockSign, centre };

class CorrectionWatch {
 public:
  /// Phase centres above centres of mass come from the antenna file; satellites without one tell no centre.
  CorrectionWatch(const Deployment& deployment, const GpsTime& date);

  /// Messages and corrections of the run.
  void take(const Event& event);
  /// An epoch and its solution, computed with the last corrections.
  void take(const ObsEpoch& epoch, const Solution& solution);

  /// How far corrected orbits lie beyond broadcast ones, which are those of the antennas, in units of the
  /// antennas' heights: 0 for antennas, 1 for centres of mass. Nothing when too few satellites tell.
  std::optional<double> centre() const;

  /// Slope of the errors of broadcast clocks, as codes show them, over the corrections: 1 where these are
  /// right, -1 where their sign is reversed. Nothing when it cannot be told from noise
  /// (two sigmas) or the corrections are below a decimetre.
  std::optional<double> clockSlope() const;

  /// Sentences about what is wrong.
  std::map<CorrectionFault, std::string> faults() const;
  /// Forgets the corrections of before: those to come are of another source, or of another time.
  void beginAnew();

 private:
  struct Sums {
    double product = 0.0, square = 0.0, count = 0.0;
  };
  void take(const CorrectionBatch& batch);
  std::optional<double> clockError(const SatObs& satellite, const ObsEpoch& epoch, const Solution& solution,
                                   const OrbitClockCorrection& correction) const;

  bool m_massCentre;  ///< orbits are taken as those of the centres of mass
  PhaseCentreHeights m_heights;
  std::map<SatName, std::map<int, BroadcastEph>> m_messages;  ///< by issue, the last ones
  std::map<SatName, OrbitClockCorrection> m_corrections;      ///< of the last batch
  std::map<SatName, Sums> m_radial, m_clocks;                 ///< by satellite
  std::optional<GpsTime> m_last;
};

}  // namespace gnx
