#pragma once
/// \file SppModelItrs.h
/// The reduced observation model of the single-point solver: pseudoranges without tides and windup.
///
/// As long as the geodetic position m_blh of the station is cleared, all corrections that need a place
/// on the Earth (elevation, troposphere, relativity, antenna patterns) stay out.

#include "Core/Model/Model.h"
#include "Core/Model/ModelSteps.h"

namespace tarvio {

class SppModelItrs : public Model {
 public:
  SppModelItrs(const ProductStores* filter, Station* sta) : Model(filter, sta) {}
  void gnssModel(bool lcheck) override;

 private:
  struct Epoch;
  void m_sun(SystemFrame& frame) const;
  void m_modelSatellite(const Epoch& epoch, int isat);
  bool m_placeCorrections(const Epoch& epoch, int isat, SatGeometry& geo);

  int m_capacity = 0;  ///< entries of the flat lists that this object has allocated; 0 = none yet
};

}  // namespace tarvio
