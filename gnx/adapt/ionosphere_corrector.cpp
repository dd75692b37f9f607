// Takes maps of the ionosphere off the observations.

#include <cmath>

#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/signal.h"

namespace gnx {

namespace {

constexpr double kOnEarth_m = 1e6;

const SsrBias* biasOf(const SatBiases& biases, const std::string& code) {
  for (const SsrBias& bias : biases.code)
    if (code.substr(1) == bias.signal) return &bias;
  return nullptr;
}

}  // namespace

IonosphereCorrector::IonosphereCorrector(std::shared_ptr<const IonosphereMaps> maps,
                                         const MessageStore& messages)
    : m_maps(std::move(maps)), m_messages(messages) {}

void IonosphereCorrector::note(const std::vector<SatBiases>& biases) {
  constexpr double kSome_m = 1e-3;
  for (const SatBiases& of : biases)
    for (const auto& [first, second] : clockReferences(of.sat[0])) {
      const SsrBias *a = biasOf(of, first), *b = biasOf(of, second);
      if (a != nullptr && b != nullptr && std::fabs(a->value - b->value) > kSome_m) m_carried.insert(of.sat);
    }
}

/// A difference of two codes that leaves their ionosphere-free combination as it is goes with the square of
/// the wavelength, like an electron content: P1-P2 of D makes D/(g-1) on the first and g D/(g-1) on the
/// second.
double IonosphereCorrector::contentOfBias(const SatName& sat) const {
  const auto found = m_maps->codeBiases.find(sat);
  if (found == m_maps->codeBiases.end() || m_carried.contains(sat)) return 0.0;
  for (const auto& [first, second] : clockReferences(sat[0])) {
    const auto f1 = carrierFrequency(sat[0], first[1]), f2 = carrierFrequency(sat[0], second[1]);
    if (!f1 || !f2) continue;
    const double onFirst = found->second * kLightSpeed / (*f1 * *f1 / (*f2 * *f2) - 1.0);
    return -onFirst / ionosphereDelay(1.0, *f1);
  }
  return 0.0;
}

void IonosphereCorrector::apply(ObsEpoch& epoch) const {
  if (length(m_position) < kOnEarth_m) return;
  for (SatObs& sat : epoch.sats) {
    const BroadcastEph* eph = m_messages.pick(sat.sat, epoch.time);
    if (eph == nullptr) continue;
    const auto content =
        slantContent(*m_maps, m_position, evaluateBroadcast(*eph, epoch.time).position, epoch.time);
    if (!content) continue;
    const double bias = contentOfBias(sat.sat);
    for (SignalObs& signal : sat.signals) {
      const auto frequency = carrierFrequency(sat.sat[0], signal.code[0]);
      if (!frequency) continue;
      const double delay = ionosphereDelay(*content + bias, *frequency);
      if (signal.range != 0.0) signal.range -= delay;
      if (signal.phase != 0.0) signal.phase += delay * *frequency / kLightSpeed;
    }
  }
}

}  // namespace gnx
