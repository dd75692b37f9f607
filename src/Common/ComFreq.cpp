#include "Common/ComFreq.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Common/Fatal.h"
#include "Common/Logtrace.h"
#include "Interface/Controller.h"
#include "Records/Satallite.h"

namespace tarvio {

namespace {

/// Carrier of one name, Hz; `m_step` per GLONASS channel.
struct Carrier {
  const char* m_name;
  double m_freq;
  double m_step;
};

/// The carriers of a system in the order in which a text is tested for their names.
struct CarrierTable {
  const char* m_text;  ///< the system's name in messages
  int m_count;
  Carrier m_carriers[6];
};

constexpr CarrierTable kGps = {
    "GPS", 3, {{"L1", 1.57542e9, 0.0}, {"L2", 1.2276e9, 0.0}, {"L5", 1.17645e9, 0.0}}};
constexpr CarrierTable kGlonass = {"GLONASS", 2, {{"L1", 1.602e9, 562500.0}, {"L2", 1.246e9, 437500.0}}};
constexpr CarrierTable kGalileo = {"GALILEO",
                                   5,
                                   {{"L1", 1.57542e9, 0.0},
                                    {"L8", 1.191795e9, 0.0},
                                    {"L6", 1.27875e9, 0.0},
                                    {"L5", 1.17645e9, 0.0},
                                    {"L7", 1.20714e9, 0.0}}};
constexpr CarrierTable kBds = {"BDS",
                               6,
                               {{"L1", 1.57542e9, 0.0},
                                {"L2", 1.561098e9, 0.0},
                                {"L7", 1.20714e9, 0.0},
                                {"L6", 1.26852e9, 0.0},
                                {"L5", 1.17645e9, 0.0},
                                {"L8", 1.191795e9, 0.0}}};
constexpr CarrierTable kQzss = {
    "QZSS",
    4,
    {{"L1", 1.57542e9, 0.0}, {"L2", 1.2276e9, 0.0}, {"L5", 1.17645e9, 0.0}, {"L6", 1.27875e9, 0.0}}};

const CarrierTable* s_carriers(char csys) {
  switch (csys) {
    case 'G':
      return &kGps;
    case 'R':
      return &kGlonass;
    case 'E':
      return &kGalileo;
    case 'B':
    case 'C':
      return &kBds;
    case 'J':
      return &kQzss;
    default:
      return nullptr;
  }
}

double s_carrierOf(const CarrierTable& table, int channel, const char* name, const char* function) {
  for (int i = 0; i < table.m_count; ++i) {
    const Carrier& carrier = table.m_carriers[i];
    if (std::strstr(name, carrier.m_name) != nullptr) return carrier.m_freq + channel * carrier.m_step;
  }
  Logtrace::m_logPrint("[%s,%d]:freq = %s,unknow frequency for %s\n", function, __LINE__, name, table.m_text);
  Logtrace::m_logTrace(4, "[%s,%d]: freq = %s,unknow frequency for %s\n", function, __LINE__, name,
                       table.m_text);
  s_exitByCode(function, __LINE__);
}

Deploy& s_deploy() { return Controller::s_getInstance()->m_deploy; }

/// The presence test of validSatObs for one slot.
bool s_hasSlot(const char* uobs, const double* obs, int ifreq) {
  const bool phase = std::strstr(uobs, "PHASE") != nullptr || std::strstr(uobs, "GRAPHIC") != nullptr;
  const bool code = std::strstr(uobs, "CODE") != nullptr;
  if (ifreq < 0 || ifreq >= kFreq || (!phase && !code)) return false;
  return (!phase || obs[ifreq] != 0.0) && (!code || obs[ifreq + kFreq] != 0.0);
}

bool s_validSatObs(const char* uobs, const char* cobs, const double* obs, int ifreq, int fq1, int fq2) {
  if (std::strstr(cobs, "RAW") != nullptr || std::strstr(cobs, "SF") != nullptr) {
    return s_hasSlot(uobs, obs, ifreq);
  }
  if (std::strstr(cobs, "IF") == nullptr) return false;
  return s_hasSlot(uobs, obs, fq1) && s_hasSlot(uobs, obs, fq2);
}

}  // namespace

void getfreq(char csys, const char* name, int channel, double* freq) {
  // B is left out on purpose: names of satellites begin with C in both generations of BeiDou.
  const CarrierTable* table = csys == 'B' ? nullptr : s_carriers(csys);
  if (table == nullptr) {
    Logtrace::m_logPrint("[%s,%d]:freq = %s,unknow frequency\n", __func__, __LINE__, name);
    Logtrace::m_logTrace(4, "[%s,%d]: freq = %s,unknow frequency\n", __func__, __LINE__, name);
    s_exitByCode(__func__, __LINE__);
  }
  *freq = s_carrierOf(*table, channel, name, __func__);
}

double freqbysys(int isys, int channel, const char* name) {
  const CarrierTable* table = isys >= 0 && isys < kSys ? s_carriers(SYS[isys]) : nullptr;
  if (table == nullptr) {
    Logtrace::m_logPrint("[%s,%d]:type = %s,unknow observation type\n", __func__, __LINE__, name);
    return 0.0;
  }
  return s_carrierOf(*table, channel, name, __func__);
}

double freqbytp(int isat, const char* name) {
  const auto& satellites = s_deploy().m_satellites;
  const int isys = index_sys(true, isat);
  const bool known = isat >= 0 && static_cast<std::size_t>(isat) < satellites.size();
  return freqbysys(isys, known ? satellites[static_cast<std::size_t>(isat)].m_channel : 0, name);
}

int index_freq(const char (*table)[4], int count, const char* name) {
  for (int i = 0; i < count; ++i) {
    if (std::strstr(table[i], name) != nullptr) return i;
  }
  return -1;
}

int pointer_charstr(int count, int width, const char* table, const char* text) {
  if (count < 0) return 0;
  const std::size_t length = std::strlen(text);
  for (int i = 0; i < count; ++i) {
    if (std::strncmp(table + i * width, text, length) == 0) return i;
  }
  return -1;
}

int pointer_string(int count, const std::string* table, const std::string& text) {
  const std::string* end = table + std::max(count, 0);
  const std::string* found = std::find(table, end, text);
  return found == end ? -1 : static_cast<int>(found - table);
}

int index_string(const char* text, char c) {
  const char* found = c == '\0' ? nullptr : std::strchr(text, c);
  return found == nullptr ? -1 : static_cast<int>(found - text);
}

char csys_bytype(const std::string& type) {
  static constexpr struct {
    const char* m_word;
    char m_letter;
  } kWords[] = {{"GPS", 'G'}, {"GLS", 'R'}, {"QZS", 'J'}, {"GAL", 'E'},
                {"BD2", 'B'}, {"BD3", 'C'}, {"BDS", 'C'}, {"LEO", 'L'}};
  for (const auto& word : kWords) {
    if (type == word.m_word) return word.m_letter;
  }
  return ' ';
}

int index_sys(bool flag, int isat) {
  if (isat < 0 || isat >= kMaxSat) return -1;
  const std::string& name = flag ? s_deploy().m_cprn[isat] : s_deploy().m_sysname[isat];
  return name.empty() ? -1 : index_string(SYS, name[0]);
}

bool check_sys(bool flag, int isat, int isys) {
  if (isat < 0 || isat >= kMaxSat || isys < 0) return false;
  const std::string& first = s_deploy().m_cprn[isat];
  const bool useFirst = flag && !first.empty() && first[0] == 'C';
  return index_sys(useFirst, isat) == isys;
}

std::string getcprn_bytype(const std::string& cprn, char type) {
  if (cprn.empty() || cprn[0] == type) return cprn;
  if (type == 'L') return std::string(1, 'L').append(cprn);
  if (type == 'B') return std::string(1, 'B').append(cprn, 1);
  const int number = std::atoi(cprn.c_str() + 1) + (cprn[0] == 'J' ? 100 : 0);
  char text[32];
  std::snprintf(text, sizeof text, "%c%02d", type, number);
  return text;
}

int s_satRow(const char* cprn) {
  const Deploy& deploy = s_deploy();
  for (int i = 0; i < deploy.m_nsat; ++i) {
    if (deploy.m_cprn[i] == cprn) return i;
  }
  return -1;
}

void get_freq(Satellite& sat, const std::string& cprn, int isys, int count, const char (*names)[4]) {
  if (count < 1 || cprn.empty() || (count == 1 && std::strstr(s_deploy().m_obscomb, "SF") == nullptr)) {
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
  const Deploy& deploy = s_deploy();
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
  const char* option = std::strstr(s_deploy().m_pams, kOption);
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
  const int count = std::min(s_deploy().m_nfreqObs[isys], kFreq);
  for (int i = 0; i < count; ++i) {
    if (obs[i] != 0.0) return i;
  }
  return -1;
}

bool validSatObs(const char* uobs, const char* cobs, const double* obs, int isat, int ifreq) {
  int fq1 = 0, fq2 = 1;
  if (std::strstr(cobs, "IF") != nullptr) s_ifSlots(index_sys(false, isat), &fq1, &fq2);
  return s_validSatObs(uobs, cobs, obs, ifreq, fq1, fq2);
}

bool validSatObs(const char* uobs, const char* cobs, const double* obs, int ifreq) {
  return s_validSatObs(uobs, cobs, obs, ifreq, 0, 1);
}

bool getTwoIndexOfValidObs(const double* values, int n, int* i, int* j) {
  int found = 0;
  for (int k = 0; k < n && found < 2; ++k) {
    if (values[k] == 0.0) continue;
    *(found == 0 ? i : j) = k;
    ++found;
  }
  return found == 2;
}

int getNoZeroCount(const double* values, int n) {
  return static_cast<int>(std::count_if(values, values + std::max(n, 0), [](double v) { return v != 0.0; }));
}

double stec2m(double stec, int isat, const char* name) {
  const double freq = freqbytp(isat, name);
  return 40.28 * 1.0e16 * stec / (freq * freq);
}

double m2stec(double metres, double freq) { return metres * freq * freq / 40.28 / 1.0e16; }

bool all(const int* values, int n, int value) {
  return std::all_of(values, values + std::max(n, 0), [value](int v) { return v == value; });
}

bool linit(const int* values, int isys, int value) {
  const int count = std::min(s_deploy().m_nsat, kMaxSat);
  for (int i = 0; i < count; ++i) {
    if (index_sys(false, i) == isys && values[i] != value) return false;
  }
  return true;
}

}  // namespace tarvio
