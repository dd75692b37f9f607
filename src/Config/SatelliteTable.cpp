// Rows, systems and carriers of the configured satellites.

#include "Config/SatelliteTable.h"

#include <algorithm>
#include <cstring>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/Fatal.h"
#include "Config/Configuration.h"

namespace tarvio {

namespace {

/// The presence test of validSatObs for one slot.
bool s_hasSlot(const char* uobs, const double* obs, int ifreq) {
  const bool phase = s_contains(uobs, "PHASE") || s_contains(uobs, "GRAPHIC");
  const bool code = s_contains(uobs, "CODE");
  if (ifreq < 0 || ifreq >= kFreq || (!phase && !code)) return false;
  return (!phase || obs[ifreq] != 0.0) && (!code || obs[ifreq + kFreq] != 0.0);
}

bool s_validSatObs(const char* uobs, const char* cobs, const double* obs, int ifreq, int fq1, int fq2) {
  if (s_contains(cobs, "RAW") || s_contains(cobs, "SF")) {
    return s_hasSlot(uobs, obs, ifreq);
  }
  if (!s_contains(cobs, "IF")) return false;
  return s_hasSlot(uobs, obs, fq1) && s_hasSlot(uobs, obs, fq2);
}

}  // namespace

double freqbytp(int isat, const char* name) {
  const auto& satellites = s_config().m_satellites;
  const int isys = index_sys(true, isat);
  const bool known = isat >= 0 && static_cast<std::size_t>(isat) < satellites.size();
  return freqbysys(isys, known ? satellites[static_cast<std::size_t>(isat)].m_channel : 0, name);
}

int index_sys(bool flag, int isat) {
  if (!flag) return s_config().m_sysOfRow(isat);
  if (isat < 0 || isat >= kMaxSat) return -1;
  const std::string& name = s_config().m_cprn[isat];
  return name.empty() ? -1 : s_systemIndex(name[0]);
}

bool check_sys(bool flag, int isat, int isys) {
  if (isat < 0 || isat >= kMaxSat || isys < 0) return false;
  const std::string& first = s_config().m_cprn[isat];
  const bool useFirst = flag && !first.empty() && first[0] == 'C';
  return index_sys(useFirst, isat) == isys;
}

int s_satRow(const char* cprn) { return s_config().m_satRow(cprn); }

void get_freq(Satellite& sat, const std::string& cprn, int isys, int count, const char (*names)[4]) {
  if (count < 1 || cprn.empty() || (count == 1 && !s_contains(s_config().m_obscomb, "SF"))) {
    s_fatal(__func__, __LINE__, "cprn = %s,nfreq = %d,frequency used for satellite is not selected!\n",
            cprn.c_str(), count);
  }
  const int used = std::min(count, kFreq);
  for (int i = 0; i < used; ++i) {
    getfreq(cprn[0], names[i], sat.m_channel, &sat.m_freq[i]);
    sat.m_freqMap[names[i]] = sat.m_freq[i];
  }
  if (used < 2) return;
  int fq1 = 0, fq2 = 1;
  s_ifSlots(isys, &fq1, &fq2);
  const double g = sat.m_freq[fq1] / sat.m_freq[fq2];
  sat.m_ifc[0] = g * g / (g * g - 1.0);
  sat.m_ifc[1] = 1.0 / (g * g - 1.0);
}

void s_ifSlots(int isys, int* fq1, int* fq2) {
  *fq1 = 0;
  *fq2 = 1;
  const Deploy& deploy = s_config();
  if (isys < 0 || isys >= kSys || deploy.m_nfreqUsed[isys] <= 2 || deploy.m_nfreqIf[isys] < 2) return;
  const int count = std::min(deploy.m_nfreqUsed[isys], kFreq);
  const int first = index_freq(deploy.m_freqUsed[isys], count, deploy.m_freqIf[isys][0]);
  const int second = index_freq(deploy.m_freqUsed[isys], count, deploy.m_freqIf[isys][1]);
  if (first < 0 || second < 0) return;
  *fq1 = first;
  *fq2 = second;
}

std::string get_wl_tag_forinput(char csys) {
  constexpr char kOption[] = "-usemwwl";
  const char* option = std::strstr(s_config().m_pams, kOption);
  if (option == nullptr) return "wl";
  // Both "-usemwwlGC" and "-usemwwl GC" name the systems.
  const char* word = option + std::strlen(kOption);
  while (*word == ' ') ++word;
  const std::string letters(word, std::strcspn(word, " "));
  return letters.find(csys) != std::string::npos ? "wl_mw" : "wl";
}

int bbo_hasobs(int isys, const double* obs) { return bbo_sel_avaobs(isys, obs) >= 0 ? 1 : 0; }

int bbo_sel_avaobs(int isys, const double* obs) {
  if (isys < 0 || isys >= kSys) return -1;
  const int count = std::min(s_config().m_nfreqObs[isys], kFreq);
  for (int i = 0; i < count; ++i) {
    if (obs[i] != 0.0) return i;
  }
  return -1;
}

bool validSatObs(const char* uobs, const char* cobs, const double* obs, int isat, int ifreq) {
  int fq1 = 0, fq2 = 1;
  if (s_contains(cobs, "IF")) s_ifSlots(index_sys(false, isat), &fq1, &fq2);
  return s_validSatObs(uobs, cobs, obs, ifreq, fq1, fq2);
}

double stec2m(double stec, int isat, const char* name) {
  const double freq = freqbytp(isat, name);
  return 40.28 * 1.0e16 * stec / (freq * freq);
}

bool linit(const int* values, int isys, int value) {
  const int count = std::min(s_config().m_nsat, kMaxSat);
  for (int i = 0; i < count; ++i) {
    if (index_sys(false, i) == isys && values[i] != value) return false;
  }
  return true;
}

bool validSatObs(const char* uobs, const char* cobs, const double* obs, int ifreq) {
  return s_validSatObs(uobs, cobs, obs, ifreq, 0, 1);
}

}  // namespace tarvio
