#pragma once
/// \file SrifFilter_iar.h
/// The filter that the controller builds: the float filter and, behind it, integer fixing.
///
/// Fixes last for one epoch and stay beside the triangle, so that a wrong integer never reaches the float
/// filter; the estimates of the last level stay and are what is reported.

#include <memory>

#include "Core/Ambfix/SrifAmbfix_if.h"
#include "Core/Ambfix/SrifAmbfix_raw.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

class SrifFilter_iar : public SrifFilter, public SrifAmbfix_if, public SrifAmbfix_raw {
 public:
  using SrifFilter::SrifFilter;
  void v_onFilterEstimate() override;
  /// Levels "ewl", "wl", "n1" of observations on separate frequencies.
  void v_resolve_raw() override;
  /// Levels "wl", "n1" of ionosphere-free observations.
  void v_resolve_if() override;
  void v_fields(StateArchive& a) override;

 private:
  std::unique_ptr<Updc> m_product(Level level) const;
  void m_stayFloat();
  bool m_tooOld(const Updc* updc);
  double m_oldestBiases(double time);

  double m_biasTime = 0.0, m_biasInterval = 0.0;  ///< of the newest set and since the one before, s
};

}  // namespace tarvio
