#pragma once
/// \file IfpbAdapter.h
/// Latest inter-frequency clock term per satellite.

#include <ctime>
#include <map>
#include <mutex>
#include <string>

namespace tarvio {

struct t_ifpb {
  bool m_valid = false;
  int m_iod = 0;
  int m_count = 0;  ///< counter of issue changes, 0 to 15
  double m_value = 0.0;
  double m_sig = 0.0;
  std::time_t m_t1 = 0, m_t0 = 0;
};

class IfpbAdapter {
 public:
  void m_inputIfpb(const std::string& cprn, const t_ifpb& record);
  /// False when there is none.
  bool m_inquireIfpb(const std::string& cprn, t_ifpb& record);

 private:
  std::mutex m_mutex;
  std::map<std::string, t_ifpb> m_records;
};

}  // namespace tarvio
