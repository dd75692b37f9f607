#pragma once
/// \file CodeBiasAdapter.h
/// Latest code bias of each satellite and signal, added to the pseudoranges of an epoch.

#include <map>
#include <mutex>
#include <string>

#include "Records/Rnxobs.h"

namespace tarvio {

class CodeBiasAdapter {
 public:
  /// \param code  two characters such as "1C"; value in metres
  void v_inputCodeBias(const char* cprn, const char* code, double value);
  /// Callers hold m_mutex. A null `value` asks for existence.
  bool m_inquireCodeBias(bool substitute, const char* cprn, const char* code, double* value);
  void m_corrCodeBias(int mjd, double sod, Rnxobs* obs);
  /// dcb (ns) = second minus first.
  bool inquireDCB(int mjd, double sod, int isat, const char* code1, const char* code2, double& dcb);

  std::mutex m_mutex;
  std::map<std::string, std::map<std::string, double>> m_bias;
};

}  // namespace tarvio
