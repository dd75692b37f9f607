#pragma once
/// \file Model.h
/// Base of the per-station observation models: observed minus computed, weights, geometry.
/// All in the terrestrial frame.

#include "Common/Constants.h"

namespace tarvio {

struct ProductStores;
struct Station;

class Model {
 public:
  /// \param filter  the owning filter, of which a model sees the stores alone; may be null
  Model(const ProductStores* filter, Station* sta);
  Model(const ProductStores* filter, Station* sta, Station* sta2);
  virtual void gnssModel(bool lcheck);
  virtual void sppModel();
  virtual ~Model() = default;

  /// Azimuth and elevation of every row from the satellite table.
  void m_azel(Station* sta);
  /// Phase-based ionospheric delay on slot 0, metres, with the arc's ambiguity; 0.0 without both phases.
  double m_computeIon(int isat);
  /// Code-minus-carrier statistics of the station.
  void m_computeCmc(Station* sta);

  const ProductStores* m_filter;
  Station* m_sta;
  Station* m_sta2;
};

}  // namespace tarvio
