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
  /// Time of a set of biases that has come in.
  void m_noteTime(int mjd, double sod);
  /// Epoch minus time of the newest set, s; not a number without any.
  double m_age(int mjd, double sod);
  void m_corrCodeBias(int mjd, double sod, Rnxobs* obs);
  /// dcb (ns) = second minus first.
  bool inquireDCB(int mjd, double sod, int isat, const char* code1, const char* code2, double& dcb);

  std::mutex m_mutex;
  std::map<std::string, std::map<std::string, double>> m_bias;

 private:
  int m_mjd = 0;  ///< of the newest set, 0 = none
  double m_sod = 0.0;
};

}  // namespace tarvio
