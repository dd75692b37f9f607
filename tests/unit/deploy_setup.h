#pragma once
/// \file deploy_setup.h
/// A small configuration for tests of functions that read it: satellites by name and letter of the
/// second table, frequencies by system. Everything touched is put back at the end of the scope.

#include <cstring>
#include <initializer_list>
#include <string>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Interface/Controller.h"

namespace tarvio::test {

class DeploySetup {
 public:
  DeploySetup() { m_clear(); }
  ~DeploySetup() { m_clear(); }
  DeploySetup(const DeploySetup&) = delete;
  DeploySetup& operator=(const DeploySetup&) = delete;

  Deploy& m_deploy() { return Controller::s_getInstance()->m_deploy; }

  int m_satellite(const std::string& cprn, const std::string& type) {
    Deploy& d = m_deploy();
    const char letter = csys_bytype(type);
    d.m_cprn[d.m_nsat] = cprn;
    d.m_sysname[d.m_nsat] = getcprn_bytype(cprn, letter);
    if (index_string(d.m_syslist, letter) < 0) {
      d.m_syslist[std::strlen(d.m_syslist)] = letter;
      if (d.m_nsys++ == 0) d.m_refsys = index_string(SYS, letter);
    }
    return d.m_nsat++;
  }

  /// The same frequencies observed and used, the first two as the ionosphere-free pair.
  void m_frequencies(char letter, std::initializer_list<const char*> names) {
    Deploy& d = m_deploy();
    const int isys = index_string(SYS, letter);
    int n = 0;
    for (const char* name : names) {
      s_copyText(d.m_freqObs[isys][n], name);
      s_copyText(d.m_freqUsed[isys][n], name);
      if (n < 2) s_copyText(d.m_freqIf[isys][n], name);
      ++n;
    }
    d.m_nfreqObs[isys] = d.m_nfreqUsed[isys] = n;
    d.m_nfreqIf[isys] = n > 1 ? 2 : 0;
  }

 private:
  void m_clear() {
    Deploy& d = m_deploy();
    for (int i = 0; i < kMaxSat; ++i) {
      d.m_cprn[i].clear();
      d.m_sysname[i].clear();
    }
    d.m_nsat = d.m_nsys = 0;
    d.m_refsys = -1;
    std::memset(d.m_syslist, 0, sizeof d.m_syslist);
    std::memset(d.m_freqObs, 0, sizeof d.m_freqObs);
    std::memset(d.m_freqUsed, 0, sizeof d.m_freqUsed);
    std::memset(d.m_freqIf, 0, sizeof d.m_freqIf);
    for (int i = 0; i < kSys; ++i) d.m_nfreqObs[i] = d.m_nfreqUsed[i] = d.m_nfreqIf[i] = 0;
    d.m_obscomb[0] = d.m_obsused[0] = d.m_pams[0] = '\0';
    d.m_satellites.clear();
    const double turboedit[4] = {2.0, 3.0, 1200.0, 0.72};
    std::memcpy(d.m_turboedit, turboedit, sizeof turboedit);
    d.m_rangelimit = 50.0;
  }
};

}  // namespace tarvio::test
