// Carriers by system and name, slots of pairs, and which observations a combination needs.

#include "Common/ComFreq.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Common/ComString.h"
#include "Common/Fatal.h"
#include "Common/Logtrace.h"

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
    if (s_contains(name, carrier.m_name)) return carrier.m_freq + channel * carrier.m_step;
  }
  Logtrace::m_logPrint("[%s,%d]:freq = %s,unknow frequency for %s\n", function, __LINE__, name, table.m_text);
  Logtrace::m_logTrace(4, "[%s,%d]: freq = %s,unknow frequency for %s\n", function, __LINE__, name,
                       table.m_text);
  s_exitByCode(function, __LINE__);
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

std::string getcprn_bytype(const std::string& cprn, char type) {
  if (cprn.empty() || cprn[0] == type) return cprn;
  if (type == 'L') return std::string(1, 'L').append(cprn);
  if (type == 'B') return std::string(1, 'B').append(cprn, 1);
  const int number = std::atoi(cprn.c_str() + 1) + (cprn[0] == 'J' ? 100 : 0);
  char text[32];
  std::snprintf(text, sizeof text, "%c%02d", type, number);
  return text;
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

double m2stec(double metres, double freq) { return metres * freq * freq / 40.28 / 1.0e16; }

bool all(const int* values, int n, int value) {
  return std::all_of(values, values + std::max(n, 0), [value](int v) { return v == value; });
}

}  // namespace tarvio
