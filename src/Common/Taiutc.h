#pragma once
/// \file Taiutc.h
/// Table of leap seconds: TAI - UTC by day.

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarvio {

class Taiutc {
 public:
  static Taiutc& s_getInstance();
  virtual ~Taiutc() = default;
  /// TAI - UTC (s) on a day; a day outside the table ends the process; a table of one row gives 0.
  int m_getTaiutc(int mjd);
  /// Names the file behind the key "leapsc"; set by the configuration loader, which knows the table of files.
  void m_setFile(std::string file) { m_file = std::move(file); }
  /// The same for a wall clock, which may be unset on a board without a battery: a day outside the table
  /// takes the nearest row.
  int m_nearestTaiutc(int mjd);
  /// Whether a day lies inside the table.
  bool m_covers(int mjd);
  /// Reads the file. Ends the process when none is named or it holds no rows.
  void m_rdUtcFile();
  virtual void v_onRecall(std::string key);

  std::vector<int> m_mjds, m_taiutc;

 private:
  void m_load();

  std::string m_file;
  std::once_flag m_loaded;
};

}  // namespace tarvio
