#pragma once
/// \file Model.h
/// Base of the per-station observation models: observed minus computed, weights, geometry.
/// All in the terrestrial frame.

#include "Common/Constants.h"

namespace tarvio {

class SrifFilter;
struct Station;

class Model {
 public:
  Model(SrifFilter* filter, Station* sta);
  Model(SrifFilter* filter, Station* sta, Station* sta2);
  virtual void gnssModel(bool lcheck);
  virtual void sppModel();
  virtual ~Model() = default;

  /// Azimuth and elevation of every row from the satellite table.
  void m_azel(Station* sta);
  /// Phase-based ionospheric delay on slot 0, metres, with the arc's ambiguity; 0.0 without both phases.
  double m_computeIon(int isat);
  /// Code-minus-carrier statistics of the station.
  void m_computeCmc(Station* sta);

  SrifFilter* m_filter;
  Station* m_sta;
  Station* m_sta2;
};

}  // namespace tarvio
