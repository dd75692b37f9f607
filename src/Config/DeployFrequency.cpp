/// \file DeployFrequency.cpp
/// Frequency lists of the configuration, "GPS:L1_L2 GAL:E1_E5a", into slots per system. A slot means
/// the same in m_freqUsed and m_freqObs, highest carrier frequency first.

#include <algorithm>
#include <cstring>
#include <utility>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/Fatal.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/Deploy.h"

namespace tarvio {

namespace {

struct SystemWord {
  const char* word;
  char letter;
};

/// Words of the frequency lists, tested in this order.
constexpr SystemWord kListWords[] = {{"GPS", 'G'}, {"GLS", 'R'}, {"GAL", 'E'}, {"BDS", 'C'}, {"CPS", 'C'},
                                     {"CMS", 'C'}, {"BD2", 'B'}, {"BD3", 'C'}, {"QZS", 'J'}};
/// Words of the lists of numbers and of smoothing combinations.
constexpr SystemWord kValueWords[] = {{"GPS", 'G'}, {"GLS", 'R'}, {"GAL", 'E'}, {"BD2", 'B'},
                                      {"BDS", 'C'}, {"BD3", 'C'}, {"QZS", 'J'}};

/// One word of a list, SYS:values.
struct ListEntry {
  char letter = ' ';
  int isys = -1;
  std::string values;
};

template <std::size_t N>
ListEntry s_listEntry(const char* function, const std::string& word, const SystemWord (&table)[N]) {
  const std::size_t colon = word.find(':');
  const std::string system = word.substr(0, colon);
  ListEntry entry;
  if (colon != std::string::npos) entry.values = word.substr(colon + 1);
  for (const SystemWord& candidate : table) {
    if (system.find(candidate.word) != std::string::npos) {
      entry.letter = candidate.letter;
      entry.isys = s_systemIndex(entry.letter);
      return entry;
    }
  }
  s_fatal(function, __LINE__, "freq = %s: unknown GNSS system\n", word.c_str());
}

/// The internal name of a frequency word; the first rule that holds wins. BeiDou's B1I is "L2", its
/// B1C "L1": a name means something only together with its system.
std::string s_normalised(const std::string& word) {
  const auto contains = [&](const char* part) { return word.find(part) != std::string::npos; };
  if (contains("L1") || contains("G1") || contains("E1") || word == "B1c") return "L1";
  if (contains("L2") || contains("G2") || contains("E2") || word == "B1") return "L2";
  if (contains("L5") || contains("E5a") || word == "B2a") return "L5";
  if (contains("E6") || contains("LEX") || word == "B3") return "L6";
  if (contains("E5b") || word == "B2b") return "L7";
  if (contains("E5") || word == "B2") return "L8";
  return word;
}

/// Carrier frequency that a name is sorted by; GLONASS by its band, no channel involved.
double s_sortFrequency(int isys, const char* name) {
  if (SYS[isys] == 'R') return std::strstr(name, "L1") != nullptr ? 1602000000.0 : 1246000000.0;
  return freqbysys(isys, -1, name);
}

void s_exchange(char (&a)[4], char (&b)[4]) { std::swap_ranges(a, a + 4, b); }

}  // namespace

void Deploy::m_parseFrequency(char (*freq)[kFreq][4], int* nfreq, const char* value) {
  for (const std::string& word : s_words(value)) {
    const ListEntry entry = s_listEntry(__func__, word, kListWords);
    const std::vector<std::string> names = s_fields(entry.values, '_');
    const int count = std::min(static_cast<int>(names.size()), kFreq);
    std::memset(freq[entry.isys], 0, sizeof freq[entry.isys]);
    for (int j = 0; j < count; ++j) {
      s_copyText(freq[entry.isys][j], s_normalised(names[static_cast<std::size_t>(j)]));
    }
    nfreq[entry.isys] = count;
  }
}

void Deploy::m_parseFreqValue(const char* value, std::map<char, std::string>& out) {
  for (const std::string& word : s_words(value)) {
    const ListEntry entry = s_listEntry(__func__, word, kValueWords);
    out[entry.letter] = entry.values;
  }
}

void Deploy::m_parseObsNoiseScal(const char* value, std::map<std::string, double>& out) {
  for (const std::string& word : s_words(value)) {
    const ListEntry entry = s_listEntry(__func__, word, kValueWords);
    const std::vector<std::string> fields = s_fields(entry.values, '_');
    const int count = std::min(static_cast<int>(fields.size()), m_nfreqUsed[entry.isys]);
    for (int j = 0; j < count; ++j) {
      double factor = 0.0;
      s_scanNumbers(fields[static_cast<std::size_t>(j)], &factor, 1);
      if (factor <= 0.0) {  // a sigma of zero has no weight
        s_note(__func__, __LINE__, "noisebyfreq = %s,factor must be above 0, set as 1.0\n", word.c_str());
        factor = 1.0;
      }
      out[std::string(1, entry.letter) + m_freqUsed[entry.isys][j]] = factor;
    }
  }
}

void Deploy::s_sortFrequencies(char (*freq)[kFreq][4], const int* nfreq) {
  for (int s = 0; s < kSys; ++s) {
    double hertz[kFreq] = {};
    for (int j = 0; j < nfreq[s]; ++j) hertz[j] = s_sortFrequency(s, freq[s][j]);
    for (int i = 0; i < nfreq[s]; ++i) {
      for (int j = i + 1; j < nfreq[s]; ++j) {
        if (hertz[j] > hertz[i]) {
          std::swap(hertz[i], hertz[j]);
          s_exchange(freq[s][i], freq[s][j]);
        }
      }
    }
  }
}

void Deploy::m_sortOrderofFreq() {
  // The ionosphere-free pair is the first two names as the list gives them, whatever their frequency.
  for (int s = 0; s < kSys; ++s) {
    m_nfreqIf[s] = 0;
    if (m_nfreqUsed[s] < 2) continue;
    std::memcpy(m_freqIf[s], m_freqUsed[s], 2 * sizeof m_freqUsed[s][0]);
    m_nfreqIf[s] = 2;
    std::vector<std::string> extra;
    for (int j = 2; j < m_nfreqUsed[s]; ++j) extra.emplace_back(m_freqUsed[s][j]);
    if (!extra.empty()) m_freqExtra[SYS[s]] = std::move(extra);
  }
  s_sortFrequencies(m_freqIf, m_nfreqIf);
  s_sortFrequencies(m_freqUsed, m_nfreqUsed);
  s_sortFrequencies(m_freqDatum, m_nfreqDatum);
  for (int s = 0; s < kSys; ++s) {
    for (int j = 0; j < m_nfreqUsed[s]; ++j) {
      int k = j;  // the rows before j are settled
      while (k < kFreq && std::strcmp(m_freqObs[s][k], m_freqUsed[s][j]) != 0) ++k;
      if (k == kFreq) {
        s_fatal(__func__, __LINE__, "freq = %s,this frequency is not contained in the freq_obs\n",
                m_freqUsed[s][j]);
      }
      if (k != j) s_exchange(m_freqObs[s][j], m_freqObs[s][k]);
    }
  }
}

}  // namespace tarvio
