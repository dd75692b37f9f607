#pragma once
/// \file Erp.h
/// Readers of Earth rotation parameters: pole (arcsec) and UT1-UTC (s), epochs as fractional MJD.

#include <fstream>
#include <string>

namespace tarvio {

class ErpAdapter {
 public:
  virtual ~ErpAdapter() = default;
  /// Opens a product; what cannot be read ends the process.
  virtual void v_acqData(const char* path) = 0;
  /// \param eop  xp, yp, UT1-UTC
  virtual void v_polut1(double mjd, double* eop) = 0;
};

/// Predictions of a few days in the IGS layout: the two records behind the column titles.
class ErpRtAdapter : public ErpAdapter {
 public:
  void v_acqData(const char* path) override;
  /// Zero before any data and beyond the second record, else linear in between. UT1-UTC comes without
  /// the zonal tides, which Itrs2gcrs adds.
  void v_polut1(double mjd, double* eop) override;

 private:
  /// MJD; pole, 1e-6 arcsec; UT1-UTC without zonal tides, s
  struct Record {
    double mjd = 0.0, xp = 0.0, yp = 0.0, ut1 = 0.0;
  };
  Record m_record[2];
};

/// A table of fixed step: first line the first and last MJD, then rows MJD, xp, yp, UT1-UTC. The rows
/// are read as the epochs move forward.
class ErpPostAdapter : public ErpAdapter {
 public:
  /// \param path  file, or null for the one of key "polut1"
  void v_acqData(const char* path) override;
  void v_polut1(double mjd, double* eop) override;
  virtual void v_onRecall(std::string key);

  double m_unit = 1.0;  ///< factor from the table's units

 private:
  struct Row {
    double mjd = 0.0, value[3] = {};
  };
  bool m_nextRow(Row& row);

  std::ifstream m_stream;
  std::string m_file;
  int m_mjd0 = 0, m_mjd1 = 0;  ///< limits of the table
  double m_step = 0.0;         ///< days
  Row m_row[2];
};

}  // namespace tarvio
