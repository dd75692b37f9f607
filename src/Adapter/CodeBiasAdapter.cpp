// Adds code biases to the pseudoranges; a signal without one takes its satellite out.

#include "Adapter/CodeBiasAdapter.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>

#include "Common/ComFreq.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

/// Signals that stand in for others of their band, by system letter and band digit.
struct Substitute {
  char letter, band;
  const char* code;
};

constexpr Substitute kSubstitutes[] = {
    {'G', '1', "1W"}, {'G', '2', "2W"}, {'G', '5', "5X"}, {'R', '1', "1P"}, {'R', '2', "2P"},
    {'E', '1', "1C"}, {'E', '5', "5Q"}, {'E', '6', "6C"}, {'E', '7', "7Q"}, {'E', '8', "8Q"},
    {'C', '2', "2I"}, {'C', '5', "5P"}, {'C', '6', "6I"}, {'C', '7', "7I"}, {'J', '1', "1X"},
    {'J', '2', "2X"}, {'J', '5', "5X"},
};

/// The substitute of a signal, null when there is none; a system, or a QZSS band, that has no biases at all
/// is said once.
const char* s_substitute(char letter, const char* code) {
  // GPS 1C is the reference signal of its own.
  if (letter == 'G' && std::strcmp(code, "1C") == 0) return nullptr;
  for (const Substitute& row : kSubstitutes) {
    if (row.letter == letter && row.band == code[0]) return row.code;
  }
  if (letter == '\0' || letter == 'J' || std::strchr("GREC", letter) == nullptr) {
    static std::atomic<bool> told{false};
    if (!told.exchange(true)) Logtrace::m_logPrint("unknown gnss system %c\n", letter);
  }
  return nullptr;
}

/// A satellite that was taken out of the epoch, kept for the log.
struct Refusal {
  int isat;
  const char* signal;
};

}  // namespace

void CodeBiasAdapter::v_inputCodeBias(const char* cprn, const char* code, double value) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bias[cprn][code] = value;
}

void CodeBiasAdapter::m_noteTime(int mjd, double sod) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (m_mjd != 0 && timdif(mjd, sod, m_mjd, m_sod) < 0.0) return;
  m_mjd = mjd;
  m_sod = sod;
}

double CodeBiasAdapter::m_age(int mjd, double sod) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_mjd == 0 ? std::numeric_limits<double>::quiet_NaN() : timdif(mjd, sod, m_mjd, m_sod);
}

bool CodeBiasAdapter::m_inquireCodeBias(bool substitute, const char* cprn, const char* code, double* value) {
  const auto satellite = m_bias.find(cprn);
  if (satellite == m_bias.end()) return false;
  const auto own = satellite->second.find(code);
  if (own != satellite->second.end()) {
    if (value != nullptr) *value = own->second;
    return true;
  }
  if (!substitute) return false;
  const char* other = s_substitute(cprn[0], code);
  if (other == nullptr || std::strstr(code, other) != nullptr) return false;
  return m_inquireCodeBias(true, cprn, other, value);
}

void CodeBiasAdapter::m_corrCodeBias(int, double, Rnxobs* obs) {
  const Deploy& deploy = s_config();
  Refusal refusals[kMaxSat];
  int refused = 0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (int isat = 0; isat < deploy.m_nsat; ++isat) {
      const int isys = index_sys(false, isat);
      const int slots = isys < 0 ? 0 : std::min(deploy.m_nfreqObs[isys], kFreq);
      double* row = obs->m_obs[isat];
      for (int j = 0; j < slots; ++j) {
        if (row[4 + j] == 0.0) continue;
        const char* type = obs->m_type[isat][4 + j];
        const char* signal = type[0] == '\0' ? type : type + 1;
        double bias = 0.0;
        if (m_inquireCodeBias(true, deploy.m_cprn[isat].c_str(), signal, &bias)) {
          row[4 + j] += bias;
          continue;
        }
        // Half-corrected pseudoranges would disagree with each other: the satellite goes.
        std::fill(row, row + kObs, 0.0);
        std::fill(obs->m_flag[isat], obs->m_flag[isat] + kFreq, static_cast<int>(kFlagNoBias));
        refusals[refused++] = {isat, signal};
        break;
      }
    }
  }
  for (int i = 0; i < refused; ++i) {
    Logtrace::m_logStatInfo("cprn = %s, obs-type = %s no correction\n",
                            deploy.m_cprn[refusals[i].isat].c_str(), refusals[i].signal);
  }
}

bool CodeBiasAdapter::inquireDCB(int, double, int isat, const char* code1, const char* code2, double& dcb) {
  const Deploy& deploy = s_config();
  if (isat < 0 || isat >= deploy.m_nsat || code1[0] == '\0' || code2[0] == '\0') return false;
  const char* cprn = deploy.m_cprn[isat].c_str();
  double first = 0.0, second = 0.0;
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_inquireCodeBias(false, cprn, code1 + 1, &first)) return false;
  if (!m_inquireCodeBias(false, cprn, code2 + 1, &second)) return false;
  dcb = (second - first) / kLight * 1.0e9;
  return true;
}

}  // namespace tarvio
