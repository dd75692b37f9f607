#pragma once
/// \file dense_sky.h
/// A sky with 45 satellites of GPS, Galileo and BeiDou-3 in view at once, in memory.
///
/// The simulated constellations have 34 at most. Here several of them that began at different times, with
/// the same satellites at other places, are laid over one another, and every satellite is taken from the
/// one that shows it for the longest time. The receiver has a perfect clock and no biases of its own, so
/// that its measurements of different constellations fit together.

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "gnx/corrections.h"
#include "gnx/time.h"
#include "simulate/simulation.h"

namespace gnx_bench {

struct DenseSkyPlan {
  double hours = 2.0, interval = 5.0;  ///< s
  int perSystem = 15;
  /// Phase biases of the corrections. "wrong": each signal off by any part of a cycle, nothing comes near an
  /// integer; "narrow": all signals of a satellite off by the same part of a cycle, which leaves wide-lanes
  /// as they are, and the last level alone fails.
  enum class Biases { right, wrong, narrow } biases = Biases::right;
  double noise = 1.0;  ///< factor on the noise of all measurements
};

class DenseSky {
 public:
  explicit DenseSky(const DenseSkyPlan& plan) : m_plan(plan) {
    for (int layer = 0; layer < kLayers; ++layer) m_addLayer(layer);
    m_choose();
    m_observe();
    m_correct();
    for (const auto& [name, layer] : m_layerOf)
      for (const gnx::SimulatedSatellite& s : m_layers[layer].sky->satellites())
        if (s.name == name) messages.insert(messages.end(), s.messages.begin(), s.messages.end());
    std::stable_sort(messages.begin(), messages.end(),
                     [](const auto& a, const auto& b) { return a.transmission < b.transmission; });
  }

  gnx::GpsTime start = gnx::toGpsTime({2026, 11, 21, 6, 0, 0.0});
  std::vector<gnx::ObsEpoch> epochs;
  std::vector<gnx::CorrectionBatch> corrections;  ///< delivered at their tag
  std::vector<gnx::BroadcastEph> messages;        ///< in order of transmission
  gnx::SignalTable signals = gnx::defaultSignals();

 private:
  static constexpr int kLayers = 8;
  static constexpr double kLayerStep_s = 4200.0, kCorrectionStep_s = 30.0;
  static constexpr double kLowest_rad = 0.3;

  struct Layer {
    std::unique_ptr<gnx::Constellation> sky;
    std::unique_ptr<gnx::Observer> observer;
  };

  void m_addLayer(int layer) {
    gnx::SkyOptions sky;
    sky.start = start + -kLayerStep_s * layer;
    sky.hours = m_plan.hours + kLayerStep_s * layer / 3600.0 + 0.1;
    sky.systems = "GEC";
    Layer& l = m_layers.emplace_back();
    l.sky = std::make_unique<gnx::Constellation>(sky);
    l.observer = std::make_unique<gnx::Observer>(m_receiver(), *l.sky, m_none);
  }

  gnx::ObserverOptions m_receiver() const {
    gnx::ObserverOptions o;
    o.site = gnx::toEarthFixed({0.829, 0.148, 450.0});
    o.clock.kind = "steered";
    o.clock.whiteNoise = 0.0;
    o.interSystemSigma = o.receiverBiasSigma = 0.0;
    o.troposphere.wetWalk = 0.0;
    for (double* sigma : {&o.codeSigma, &o.phaseSigma, &o.codeMultipath, &o.phaseMultipath})
      *sigma *= m_plan.noise;
    return o;
  }

  /// By system the satellites that are high for the longest time, each in its best layer.
  void m_choose() {
    std::map<gnx::SatName, std::pair<int, std::size_t>> best;
    for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
      gnx::Observer observer(m_receiver(), *m_layers[layer].sky, m_none);
      std::map<gnx::SatName, int> seen;
      gnx::ObsEpoch epoch;
      gnx::EpochTruth truth;
      for (double t = 0.0; t <= m_plan.hours * 3600.0; t += 300.0) {
        observer.observe(start + t, epoch, truth);
        for (const gnx::SatelliteTruth& s : truth.satellites)
          seen[s.sat] += s.elevation > kLowest_rad ? 1 : 0;
      }
      for (const auto& [sat, count] : seen)
        if (!best.contains(sat) || count > best[sat].first) best[sat] = {count, layer};
    }
    for (const char system : std::string("GEC")) {
      std::vector<std::pair<int, gnx::SatName>> order;
      for (const auto& [sat, choice] : best)
        if (sat[0] == system) order.emplace_back(-choice.first, sat);
      std::sort(order.begin(), order.end());
      order.resize(std::min(order.size(), static_cast<std::size_t>(m_plan.perSystem)));
      for (const auto& [count, sat] : order) m_layerOf[sat] = best[sat].second;
    }
  }

  void m_observe() {
    gnx::ObsEpoch part;
    gnx::EpochTruth truth;
    for (double t = 0.0; t < m_plan.hours * 3600.0; t += m_plan.interval) {
      gnx::ObsEpoch& all = epochs.emplace_back();
      all.time = start + t;
      for (std::size_t layer = 0; layer < m_layers.size(); ++layer) {
        m_layers[layer].observer->observe(all.time, part, truth);
        for (const gnx::SatObs& sat : part.sats) {
          const auto found = m_layerOf.find(sat.sat);
          if (found != m_layerOf.end() && found->second == layer) all.sats.push_back(sat);
        }
      }
      std::sort(all.sats.begin(), all.sats.end(),
                [](const gnx::SatObs& a, const gnx::SatObs& b) { return a.sat < b.sat; });
    }
  }

  void m_correct() {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> anything(-0.5, 0.5);
    std::map<std::string, double> cycles;
    const auto error = [&](const std::string& name) {
      const auto [value, isNew] = cycles.try_emplace(name, 0.0);
      if (isNew) value->second = anything(random);
      return value->second;
    };
    for (double t = 0.0; t <= m_plan.hours * 3600.0; t += kCorrectionStep_s) {
      gnx::CorrectionBatch& b = corrections.emplace_back();
      b.delivery = b.tag = b.biasTag = start + t;
      b.newBiases = true;
      for (const auto& [name, layer] : m_layerOf) {
        const gnx::Constellation& sky = *m_layers[layer].sky;
        for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
          const gnx::SimulatedSatellite& satellite = sky.satellites()[i];
          if (satellite.name != name) continue;
          const gnx::SsrOrbit orbit = sky.orbitCorrection(i, b.tag, b.tag);
          const gnx::SsrClock clock = sky.clockCorrection(i, b.tag, b.tag);
          b.orbitClock.push_back({orbit.sat, orbit.iod, orbit.delta, orbit.rate, clock.c});
          gnx::SatBiases& biases = b.biases.emplace_back();
          biases.sat = name;
          for (const auto& [signal, value] : satellite.codeBias)
            biases.code.push_back({signal, value, 0, 0, 0});
          for (const auto& [signal, value] : satellite.phaseBias) {
            const double wavelength = 299792458.0 / gnx::carrierFrequency(name[0], signal);
            const bool narrow = m_plan.biases == DenseSkyPlan::Biases::narrow;
            const double wrong = m_plan.biases == DenseSkyPlan::Biases::right
                                     ? 0.0
                                     : wavelength * error(narrow ? name : name + signal);
            biases.phase.push_back({signal, value + wrong, 1, 2, 0});
          }
        }
      }
    }
  }

  DenseSkyPlan m_plan;
  gnx::FaultList m_none;
  std::vector<Layer> m_layers;
  std::map<gnx::SatName, std::size_t> m_layerOf;
};

}  // namespace gnx_bench
