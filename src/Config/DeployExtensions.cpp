/// \file DeployExtensions.cpp
/// Optional groups of the configuration: what receivers' errors are like, when integers are believed, the
/// ionosphere as a random walk. A group that is absent changes nothing.

#include <json/json.h>

#include <cmath>
#include <string>

#include "Common/Fatal.h"
#include "Common/TextScan.h"
#include "Config/ConfigInput.h"
#include "Config/Deploy.h"

namespace tarvio {

namespace {

constexpr char kWalk[] = "ION_WALK";

/// The values of a group, each refused with its key, its range and what stands there.
class Group {
 public:
  Group(const Json::Value& object, const char* name) : m_object(object), m_name(name) {}

  bool m_isOn() const {
    const std::string text = s_requiredScalar(m_object, "switch");
    if (text != "on" && text != "off")
      s_fatal(m_name, __LINE__, "%s:switch = %s, it is either 'on' or 'off'\n", m_name, text.c_str());
    return text == "on";
  }
  void m_read(const char* key, double least, double most, double& value) const {
    m_readNumbers(key, least, most, &value, 1);
  }
  void m_read(const char* key, NoiseLevel& level) const {
    double pair[2] = {level.white, level.slow};
    m_readNumbers(key, 0.0, 100.0, pair, 2);
    if (pair[0] + pair[1] <= 0.0) s_fatal(m_name, __LINE__, "%s:%s is zero, give sigmas in m\n", m_name, key);
    level = {pair[0], pair[1]};
  }

  void m_readNumbers(const char* key, double least, double most, double* value, int count) const {
    if (!m_object.isMember(key)) return;
    const std::string text = s_requiredScalar(m_object, key);
    const bool read = s_scanNumbers(text, value, count) == count;
    for (int i = 0; i < count; ++i)
      if (!read || !(value[i] >= least && value[i] <= most))
        s_fatal(m_name, __LINE__, "%s:%s = %s, give %d number%s from %g to %g\n", m_name, key, text.c_str(),
                count, count == 1 ? "" : "s", least, most);
  }

 private:
  const Json::Value& m_object;
  const char* m_name;
};

}  // namespace

void Deploy::m_readNoise(const Json::Value& group) {
  m_noise = NoiseSettings();
  if (!group.isObject()) return;
  const Group noise(group, "noise");
  m_noise.m_on = noise.m_isOn();
  noise.m_read("correlation", 1.0, 3600.0, m_noise.m_correlation_s);
  noise.m_read("code", m_noise.m_code);
  noise.m_read("phase", m_noise.m_phase);
  double zenith[2] = {m_noise.m_zenithDelay_m, m_noise.m_zenithDelay_mPerRootS};
  noise.m_readNumbers("zenith", 1e-6, 10.0, zenith, 2);
  m_noise.m_zenithDelay_m = zenith[0];
  m_noise.m_zenithDelay_mPerRootS = zenith[1];
  noise.m_read("products", 0.0, 10.0, m_noise.m_products);
}

void Deploy::m_readIntegrity(const Json::Value& group) {
  m_integrity = IntegritySettings();
  if (!group.isObject()) return;
  const Group integrity(group, "integrity");
  IntegritySettings& s = m_integrity;
  s.m_on = integrity.m_isOn();
  integrity.m_read("failure_rate", 1e-12, 0.5, s.m_failureRate);
  integrity.m_read("failure_rate_n1_many", 1e-12, 0.5, s.m_failureRateOfMany);
  integrity.m_read("failure_rate_wl", 1e-12, 0.5, s.m_wideLaneFailureRate);
  integrity.m_read("failure_rate_many", 1e-12, 0.5, s.m_wideLaneFailureRateOfMany);
  double many = s.m_many;
  integrity.m_read("many", 0.0, 160.0, many);
  s.m_many = static_cast<int>(std::lround(many));
  integrity.m_read("ratio", 1.0, 1e6, s.m_ratio);
  integrity.m_read("misfit", 0.0, 0.5, s.m_misfit);
  integrity.m_read("share", 0.0, 1.0, s.m_share);
  integrity.m_read("misfits", 0.0, 1.0, s.m_misfits);
  integrity.m_read("agreement", 0.0, 3600.0, s.m_agreement_s);
  integrity.m_readNumbers("floor_wl", 0.0, 0.5, s.m_wideLaneFloor, 2);
  integrity.m_readNumbers("floor_n1", 0.0, 0.5, s.m_narrowLaneFloor, 2);
  integrity.m_read("position", 1e-3, 100.0, s.m_position_m);
  double least = s.m_least;
  integrity.m_read("least", 0.0, 160.0, least);
  s.m_least = static_cast<int>(std::lround(least));
  integrity.m_read("bias_age", 1.0, 86400.0, s.m_biasAge_s);
  double missed[2] = {s.m_missedBiases, s.m_leastBiasAge_s};
  integrity.m_readNumbers("bias_missed", 0.0, 86400.0, missed, 2);
  s.m_missedBiases = missed[0];
  s.m_leastBiasAge_s = missed[1];
}

void Deploy::m_readIonosphereWalk() {
  m_ionWalk = IonosphereWalk();
  const std::string text = m_ionpri;
  if (!text.starts_with(kWalk)) return;
  double value[2] = {};
  const bool read = s_scanNumbers(std::string_view(text).substr(sizeof kWalk - 1), value, 2) == 2;
  if (!read || !(value[0] > 0.0 && value[0] <= 1e4 && value[1] > 0.0 && value[1] <= 100.0))
    s_fatal("m_readIonosphereWalk", __LINE__,
            "ionpri = %s, ION_WALK takes the sigma of a new slant delay (m) and its noise (m/sqrt(s))\n",
            m_ionpri);
  m_ionWalk = {true, value[0], value[1]};
}

}  // namespace tarvio
