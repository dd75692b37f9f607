// Engines in C: records in, solutions out.

#include <cmath>
#include <cstring>
#include <limits>

#include "GNX_SDK_ext.h"
#include "c/objects.h"
#include "c/records.h"

namespace gnx::c {

namespace {

EngineOptions optionsOf(const gnx_engine_options* from) {
  EngineOptions options;
  if (from == nullptr) return options;
  checkSize<gnx_engine_options>(from->size, "options");
  if (from->mode) options.mode = parseMode(from->mode);
  if (from->in_process) options.place = Place::inProcess;
  if (from->machine_clock) options.clock = EngineClock::machine;
  if (from->directory) options.directory = from->directory;
  if (from->output_options) options.outputOptions = from->output_options;
  if (from->worker) options.worker = from->worker;
  if (from->state_size > 0)
    options.state.assign(&required(static_cast<const char*>(from->state), "state"), from->state_size);
  return options;
}

/// In this process a configuration that the engine refuses would end the host.
void checkHere(const Deployment& deployment) {
  const GNX_EXT::DeploymentCheck check = GNX_EXT::checkDeployment(deployment.directory().string());
  if (!check.usable) fail(GNX_BAD_INPUT, deployment.directory().string() + "/ppp.json: " + check.fault);
}

gnx_solution inC(const Solution& from) {
  gnx_solution to{};
  to.time = {from.time.seconds, from.time.fraction};
  to.state = static_cast<int32_t>(from.state);
  to.reason = static_cast<int32_t>(from.reason);
  std::copy_n(from.position.begin(), 3, to.position_m);
  for (std::size_t i = 0; i < 3; ++i) std::copy_n(from.covariance[i].begin(), 3, to.covariance_m2 + 3 * i);
  to.satellites = from.rows / 2;
  to.fixed = from.fixed;
  to.ratio = from.ratio;
  to.sigma0 = from.sigma0;
  to.gdop = from.dop.geometry;
  to.pdop = from.dop.position;
  to.hdop = from.dop.horizontal;
  to.vdop = from.dop.vertical;
  to.zenith_hydrostatic_m = from.zenith.aprioriHydrostatic_m;
  to.zenith_wet_m = from.zenith.aprioriWet_m;
  to.zenith_correction_m = from.zenith.correction_m;
  to.zenith_sigma_m = from.zenith.sigma_m;
  const double none = std::numeric_limits<double>::quiet_NaN();
  to.age_orbit_clock_s = from.ages.orbitClock_s.value_or(none);
  to.age_phase_bias_s = from.ages.phaseBias_s.value_or(none);
  to.age_code_bias_s = from.ages.codeBias_s.value_or(none);
  to.milliseconds = from.milliseconds;
  return to;
}

void checkOut(const gnx_solution* solution) {
  checkSize<gnx_solution>(required(solution, "solution").size, "solution");
}

/// Keeps an epoch's solution and gives it to the host.
void give(EngineAndSolution& e, Solution&& solution, gnx_solution* out) {
  e.solution = std::move(solution);
  const std::size_t size = out->size;
  *out = inC(e.solution);
  out->size = size;
}

gnx_band inC(const SatelliteSolution& satellite, const BandSolution& from) {
  gnx_band to{};
  setField(to.satellite, satellite.sat);
  setField(to.band, from.band);
  setField(to.signal, from.signal);
  to.azimuth_deg = satellite.azimuth_deg;
  to.elevation_deg = satellite.elevation_deg;
  to.snr_dbhz = from.snr_dBHz;
  setField(to.code_fate, from.code.fate);
  setField(to.phase_fate, from.phase.fate);
  to.code_residual_m = from.code.residual_m;
  to.phase_residual_m = from.phase.residual_m;
  to.code_sigma_m = from.code.sigma_m;
  to.phase_sigma_m = from.phase.sigma_m;
  to.has_ambiguity = from.ambiguity ? 1 : 0;
  if (from.ambiguity) {
    to.wavelength_m = from.ambiguity->wavelength_m;
    to.ambiguity = from.ambiguity->value;
    to.arc_s = from.ambiguity->arc_s;
  }
  const double none = std::numeric_limits<double>::quiet_NaN();
  to.ionosphere_m = satellite.ionosphere ? satellite.ionosphere->delay_m : none;
  to.ionosphere_sigma_m = satellite.ionosphere ? satellite.ionosphere->sigma_m : none;
  return to;
}

}  // namespace

void EngineAndSolution::note(const EngineEvent& event, std::string& told) {
  if (event.name != "resumed") return;
  const auto value = [&](const char* key) {
    const auto found = event.values.find(key);
    return found == event.values.end() ? std::string() : found->second;
  };
  const std::string why = value("why"), broken = value("broken");
  if (!why.empty()) told = "all begins anew: " + why;
  else told = "arcs of " + value("held") + " satellites go on" + (broken.empty() ? "" : "; anew: " + broken);
}

}  // namespace gnx::c

using namespace gnx::c;

extern "C" {

gnx_status gnx_engine_open(gnx_deployment* deployment, const gnx_engine_options* options,
                           gnx_engine** engine) {
  return guarded([&] {
    gnx_engine*& out = required(engine, "engine");
    const gnx::EngineOptions chosen = optionsOf(options);
    const gnx::Deployment site = with(deployments(), deployment, [](const auto& d) { return d; });
    if (chosen.place == gnx::Place::inProcess) checkHere(site);
    out = engines().open(std::make_shared<Held<EngineAndSolution>>(site, chosen));
  });
}

gnx_status gnx_engine_next(gnx_engine* engine, gnx_stream* stream, gnx_solution* solution) {
  return guarded([&] {
    checkOut(solution);
    const auto records = streams().find(stream);
    return with(engines(), engine, [&](EngineAndSolution& e) {
      const std::lock_guard lock(records->mutex);
      for (gnx::Event event; records->object.next(event);) {
        auto result = e.engine.feed(event);
        if (!result) continue;
        give(e, std::move(*result), solution);
        return GNX_OK;
      }
      return GNX_END;
    });
  });
}

gnx_status gnx_engine_start(gnx_engine* engine, gnx_time first, const char* types, const char* biases,
                            const char* antenna, const double* position_m) {
  return guarded([&] {
    gnx::StreamStart start = startOf(first, types, biases, position_m);
    if (antenna) start.header.antenna = antenna;
    with(engines(), engine, [&](EngineAndSolution& e) { e.engine.start(start); });
  });
}

gnx_status gnx_engine_feed_message(gnx_engine* engine, const gnx_message* message, size_t element_size) {
  return guarded([&] {
    const gnx::BroadcastEph eph = messageOf(message, element_size);
    with(engines(), engine, [&](EngineAndSolution& e) { e.engine.feed(eph); });
  });
}

gnx_status gnx_engine_feed_glonass(gnx_engine* engine, const gnx_glonass_message* message,
                                   size_t element_size) {
  return guarded([&] {
    const gnx::GlonassEph eph = messageOf(message, element_size);
    with(engines(), engine, [&](EngineAndSolution& e) { e.engine.feed(eph); });
  });
}

gnx_status gnx_engine_feed_corrections(gnx_engine* engine, gnx_time delivery, gnx_time tag,
                                       const gnx_correction* corrections, size_t correction_size,
                                       size_t correction_count, const gnx_bias* biases, size_t bias_size,
                                       size_t bias_count) {
  return guarded([&] {
    const gnx::CorrectionBatch batch =
        batchOf(delivery, tag, corrections, correction_size, correction_count, biases, bias_size, bias_count);
    with(engines(), engine, [&](EngineAndSolution& e) { e.engine.feed(batch); });
  });
}

gnx_status gnx_engine_feed_epoch(gnx_engine* engine, gnx_time time, const gnx_observation* observations,
                                 size_t element_size, size_t count, gnx_solution* solution) {
  return guarded([&] {
    checkOut(solution);
    const gnx::ObsEpoch epoch = epochOf(time, observations, element_size, count);
    return with(engines(), engine, [&](EngineAndSolution& e) {
      auto result = e.engine.feed(epoch);
      if (!result) return GNX_NO_EPOCH;
      give(e, std::move(*result), solution);
      return GNX_OK;
    });
  });
}

gnx_status gnx_engine_bands(gnx_engine* engine, gnx_band* bands, size_t element_size, size_t capacity,
                            size_t* count) {
  return guarded([&] {
    checkArray(bands, element_size, capacity, "bands");
    with(engines(), engine, [&](EngineAndSolution& e) {
      std::size_t n = 0;
      for (const gnx::SatelliteSolution& satellite : e.solution.satellites)
        for (const gnx::BandSolution& band : satellite.bands) {
          if (n < capacity) *element(bands, element_size, n) = inC(satellite, band);
          ++n;
        }
      if (count) *count = n;
    });
  });
}

gnx_status gnx_engine_why(gnx_engine* engine, char* text, size_t capacity, size_t* needed) {
  return guarded([&] {
    copyText(with(engines(), engine, [](EngineAndSolution& e) { return e.solution.why; }), text, capacity,
             needed);
  });
}

gnx_status gnx_engine_state(gnx_engine* engine, void* bytes, size_t capacity, size_t* needed) {
  return guarded([&] {
    if (capacity > 0) required(static_cast<char*>(bytes), "bytes");
    const std::string state = with(engines(), engine, [](EngineAndSolution& e) { return e.engine.state(); });
    if (state.empty()) fail(GNX_BAD_ORDER, "an engine knows nothing before its first epoch");
    if (needed) *needed = state.size();
    if (state.size() <= capacity) std::memcpy(bytes, state.data(), state.size());
  });
}

gnx_status gnx_engine_resumed(gnx_engine* engine, char* text, size_t capacity, size_t* needed) {
  return guarded([&] {
    copyText(with(engines(), engine, [](EngineAndSolution& e) { return *e.resumed; }), text, capacity,
             needed);
  });
}

gnx_status gnx_engine_restart(gnx_engine* engine) {
  return guarded([&] { with(engines(), engine, [](EngineAndSolution& e) { e.engine.restart(); }); });
}

gnx_status gnx_engine_finish(gnx_engine* engine) {
  return guarded([&] { with(engines(), engine, [](EngineAndSolution& e) { e.engine.finish(); }); });
}

gnx_status gnx_engine_close(gnx_engine* engine) {
  return guarded([&] { engines().close(engine); });
}
}
