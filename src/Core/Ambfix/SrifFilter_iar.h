#pragma once
/// \file SrifFilter_iar.h
/// The filter that the controller builds: the float filter and, behind it, integer fixing.

#include "Core/Filter/SrifFilter.h"

namespace tarvio {

class SrifFilter_iar : public SrifFilter {
 public:
  using SrifFilter::SrifFilter;
  void v_onFilterEstimate() override;

 private:
  bool m_resolutionReported = false;
};

}  // namespace tarvio
