#pragma once
/// \file GnssModelItrs.h
/// The precise observation model of one station and epoch.

#include "Core/Model/Model.h"

namespace tarvio {

class GnssModelItrs : public Model {
 public:
  using Model::Model;
  void gnssModel(bool lcheck) override;
  /// \return non-zero when a further pass is needed
  bool m_checkrange(bool lcheck, int* rej, double* rclk);
};

}  // namespace tarvio
