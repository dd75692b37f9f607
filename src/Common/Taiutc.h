#pragma once
/// \file Taiutc.h
/// Table of leap seconds.

#include <mutex>
#include <string>
#include <vector>

namespace tarvio {

class Taiutc {
 public:
  static Taiutc& s_getInstance();
  virtual ~Taiutc() = default;
  /// TAI - UTC (s) on a day; a day outside the table ends the process; a table of one row gives 0.
  int m_getTaiutc(int mjd);
  /// Reads the file of key "leapsc".
  void m_rdUtcFile();
  virtual void v_onRecall(std::string key);

  std::vector<int> m_mjds, m_taiutc;

 private:
  std::once_flag m_loaded;
};

}  // namespace tarvio
