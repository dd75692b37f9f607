#pragma once
/// \file PoleTable.h
/// Pole and UT1 of the deployment (key "polut1"), held whole.
///
/// First line: first and last MJD. Rows: MJD, x and y of the pole (arcsec), UT1-UTC without the zonal tides,
/// which Itrs2gcrs adds (s); ascending, at whatever distance. Rows that are no numbers are remarks.

#include <string>
#include <vector>

#include "Core/Model/Erp.h"

namespace tarvio {

class PoleTable : public ErpAdapter {
 public:
  static PoleTable& s_getInstance();
  /// Forgets what it held and reads a file. A missing or empty one holds no records; one that makes no sense
  /// holds none either, which the status log tells with the line.
  void v_acqData(const char* path) override;
  /// Linear between the records around the epoch; zero where there are none.
  void v_polut1(double mjd, double* eop) override;
  /// Whether records lie around an epoch.
  bool m_covers(double mjd) const;

 private:
  struct Row {
    double mjd = 0.0, value[3] = {};
  };
  /// \return what is wrong, "" when nothing is
  std::string m_take(const std::string& content);

  double m_first = 0.0, m_last = 0.0;  ///< MJD
  std::vector<Row> m_rows;
};

}  // namespace tarvio
