// Writes observations, messages, corrections and truths of a simulated sky.

#include "simulate/simulation.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

#include "gnx/error.h"
#include "gnx/write.h"
#include "simulate/random.h"
#include "simulate/rtcm_file.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;
constexpr const char* kSource = "SIM";

void checkIntervals(const SimulationOptions& o) {
  if (!(o.interval >= 0.01) || o.interval > 3600.0)
    throw UsageError("the observation interval is between 0.01 and 3600 s");
  for (const int interval : {o.clockInterval, o.orbitInterval, o.biasInterval})
    if (interval < 1 || interval > 3600)
      throw UsageError("the intervals of the corrections are whole seconds from 1 to 3600");
  if (o.orbitInterval % o.clockInterval != 0)
    throw UsageError("the interval of the orbit corrections is a multiple of that of the clocks");
  if (!(o.observer.codeMultipathTime > 0.0) || !(o.observer.phaseMultipathTime > 0.0))
    throw UsageError("the correlation times of slow errors are above zero");
  if (!(o.observer.ionosphere.wavePeriod > 0.0) || !(o.observer.ionosphere.waveSpeed > 0.0))
    throw UsageError("period and speed of the ionospheric wave are above zero");
  if (length(o.observer.site) < 6.3e6 || length(o.observer.site) > 6.5e6)
    throw UsageError(
        "the site is not near the Earth's surface; give X Y Z in metres or latitude, longitude, height");
}

/// Time of the whole interval at or before t, counted within the day.
GpsTime gridTime(const GpsTime& t, int interval) { return {t.seconds - t.seconds % interval, 0.0}; }

ObsHeader makeHeader(const SimulationOptions& o) {
  ObsHeader header;
  header.version = 3.04;
  header.marker = o.marker;
  header.receiver = o.receiver;
  header.antenna = o.antenna;
  for (std::size_t i = 0; i < 3; ++i) header.position[i] = std::round(o.observer.site[i]);
  header.antennaDelta = o.observer.antennaDelta;
  header.interval = o.interval;
  for (const char system : o.sky.systems)
    for (const std::string& signal : o.sky.signals.at(system))
      for (const char kind : {'C', 'L', 'D', 'S'}) header.types[system].push_back(kind + signal);
  return header;
}

SsrSatBias biasesOf(const SimulatedSatellite& satellite, bool phase) {
  SsrSatBias result;
  result.sat = satellite.name;
  for (const auto& [signal, value] : phase ? satellite.phaseBias : satellite.codeBias)
    result.biases.push_back({signal, value, phase ? 1 : 0, phase ? 2 : 0, 0});
  return result;
}

/// Phase biases as the faults let them be sent.
SsrSatBias phaseBiasesSent(const SimulationOptions& options, const SimulatedSatellite& satellite,
                           double seconds) {
  SsrSatBias sent = biasesOf(satellite, true);
  for (SsrBias& bias : sent.biases) {
    const auto size = [&](Fault::Kind kind) {
      return options.faults.size(kind, satellite.name, bias.signal, seconds);
    };
    if (size(Fault::Kind::ssrPhaseSign) != 0.0) bias.value = -bias.value;
    const double wrong = size(Fault::Kind::ssrPhaseRandom);
    if (wrong == 0.0) continue;
    Random random(options.sky.seed, satellite.name + " wrong bias " + bias.signal);
    bias.value +=
        wrong * random.uniform(-0.5, 0.5) * kSpeedOfLight / carrierFrequency(satellite.name[0], bias.signal);
  }
  return sent;
}

class TruthWriter {
 public:
  TruthWriter(const SimulationFiles& files, const SimulationOptions& options)
      : m_epochs(files.truth), m_detail(options.satelliteTruth) {
    m_epochs << "time_gpst,week,sow_s,x_m,y_m,z_m,tide_x_m,tide_y_m,tide_z_m,clock_s,zhd_m,zwd_m\n";
    if (!m_detail) return;
    m_satellites.open(files.satelliteTruth);
    m_satellites << "sow_s,sat,azimuth_deg,elevation_deg,range_m,satellite_clock_m,relativity_m,shapiro_m,"
                    "troposphere_m,slant_tec_tecu,windup_cycles,ambiguities\n";
  }

  void write(const EpochTruth& e) {
    int week = 0;
    const double sow = secondsOfWeek(e.time, &week);
    m_epochs << printed("%s,%d,%.3f,%.5f,%.5f,%.5f,%.5f,%.5f,%.5f,%.13e,%.5f,%.5f\n",
                        formatTime(e.time, 3).c_str(), week, sow, e.marker[0], e.marker[1], e.marker[2],
                        e.tide[0], e.tide[1], e.tide[2], e.clock, e.zenith.hydrostatic, e.zenith.wet);
    if (!m_detail) return;
    for (const SatelliteTruth& s : e.satellites) {
      m_satellites << printed("%.3f,%s,%.4f,%.4f,%.5f,%.5f,%.5f,%.5f,%.5f,%.5f,%.5f,", sow, s.sat.c_str(),
                              s.azimuth * kDegrees, s.elevation * kDegrees, s.range, s.clock, s.relativity,
                              s.shapiro, s.troposphere, s.slantContent, s.windupCycles);
      const char* separator = "";
      for (const auto& [signal, cycles] : s.ambiguity) {
        m_satellites << separator << signal << printed(":%.0f", cycles);
        separator = " ";
      }
      m_satellites << '\n';
    }
  }

  void finish(const SimulationFiles& files) {
    m_epochs.flush();
    if (m_detail) m_satellites.flush();
    if (!m_epochs || (m_detail && !m_satellites))
      throw InputError(files.truth.string(), 0, "writing the truth failed; check the free space");
  }

 private:
  std::ofstream m_epochs, m_satellites;
  bool m_detail;
};

void writeBiasTruth(const std::filesystem::path& file, const Constellation& sky) {
  std::ofstream out(file);
  out << "sat,signal,code_bias_m,phase_bias_m\n";
  for (const SimulatedSatellite& satellite : sky.satellites())
    for (const auto& [signal, code] : satellite.codeBias)
      out << satellite.name << ',' << signal << printed(",%.4f,%.4f\n", code, satellite.phaseBias.at(signal));
  out.flush();
  if (!out) throw InputError(file.string(), 0, "cannot be written; check the folder and the free space");
}

/// Which corrections are due at a time.
struct Due {
  bool orbit = false, clock = false, bias = false;
};

/// Polynomials of a block refer to the middle of its update interval (RTCM 10403.3): those that are exact at
/// the block's own epoch, moved there.
void toMiddle(SsrOrbit& orbit, double interval) {
  for (std::size_t k = 0; k < 3; ++k) orbit.delta[k] += orbit.rate[k] * 0.5 * interval;
}
void toMiddle(SsrClock& clock, double interval) {
  const double h = 0.5 * interval;
  clock.c[0] += (clock.c[1] + clock.c[2] * h) * h;
  clock.c[1] += 2.0 * clock.c[2] * h;
}

void makeBlocks(const SimulationOptions& options, const Constellation& sky, const GpsTime& t, const Due& due,
                const std::function<void(const SsrBlock&)>& take) {
  const double seconds = t - options.sky.start;
  const GpsTime reference = gridTime(t, options.orbitInterval);
  SsrBlock orbits{SsrKind::orbit, t, options.orbitInterval, kSource, {}, {}, {}, 0};
  SsrBlock clocks{SsrKind::clock, t, options.clockInterval, kSource, {}, {}, {}, 0};
  SsrBlock codes{SsrKind::codeBias, t, options.biasInterval, kSource, {}, {}, {}, 0};
  SsrBlock phases{SsrKind::phaseBias, t, options.biasInterval, kSource, {}, {}, {}, 0};
  for (std::size_t i = 0; i < sky.satellites().size(); ++i) {
    const SimulatedSatellite& satellite = sky.satellites()[i];
    if (options.faults.strikes(Fault::Kind::ssrGap, satellite.name, seconds)) continue;
    const bool orbitGap = options.faults.strikes(Fault::Kind::ssrOrbitGap, satellite.name, seconds);
    if (due.orbit && !orbitGap) {
      orbits.orbits.push_back(sky.orbitCorrection(i, t, reference));
      if (orbits.interval > 1) toMiddle(orbits.orbits.back(), orbits.interval);
    }
    if (due.clock && !orbitGap) {
      clocks.clocks.push_back(sky.clockCorrection(i, t, reference));
      if (clocks.interval > 1) toMiddle(clocks.clocks.back(), clocks.interval);
      clocks.clocks.back().c[0] += options.faults.size(Fault::Kind::ssrClock, satellite.name, "", seconds);
    }
    if (due.bias) {
      codes.biases.push_back(biasesOf(satellite, false));
      if (!options.faults.strikes(Fault::Kind::ssrPhaseGap, satellite.name, seconds))
        phases.biases.push_back(phaseBiasesSent(options, satellite, seconds));
    }
  }
  if (!orbits.orbits.empty()) take(orbits);
  if (!clocks.clocks.empty()) take(clocks);
  if (!codes.biases.empty()) take(codes);
  if (!phases.biases.empty()) take(phases);
}

void writeObservations(const SimulationOptions& options, const Constellation& sky,
                       const SimulationFiles& files) {
  Observer observer(options.observer, sky, options.faults);
  RinexObsWriter writer(files.observations, makeHeader(options), options.sky.start);
  TruthWriter truthWriter(files, options);
  const auto epochs =
      static_cast<long long>(std::floor(options.sky.hours * 3600.0 / options.interval + 1e-6));
  ObsEpoch epoch;
  EpochTruth truth;
  for (long long k = 0; k < epochs; ++k) {
    observer.observe(options.sky.start + static_cast<double>(k) * options.interval, epoch, truth);
    if (!epoch.sats.empty()) writer.write(epoch);
    truthWriter.write(truth);
  }
  truthWriter.finish(files);
}

}  // namespace

std::vector<BroadcastEph> allMessages(const Constellation& sky) {
  std::vector<BroadcastEph> messages;
  for (const SimulatedSatellite& satellite : sky.satellites())
    messages.insert(messages.end(), satellite.messages.begin(), satellite.messages.end());
  std::stable_sort(messages.begin(), messages.end(), [](const BroadcastEph& a, const BroadcastEph& b) {
    return a.transmission < b.transmission;
  });
  return messages;
}

void forEachCorrection(const SimulationOptions& options, const Constellation& sky,
                       const std::function<void(const SsrBlock&)>& take) {
  const GpsTime end = options.sky.start + options.sky.hours * 3600.0;
  const GpsTime first = gridTime(options.sky.start, options.orbitInterval);
  for (GpsTime t = first; end - t >= 0.0; t = t + 1.0) {
    const bool orbit = t.seconds % options.orbitInterval == 0;
    const bool clock = t.seconds % options.clockInterval == 0;
    const bool bias = t.seconds % options.biasInterval == 0 || t == first;
    if (orbit || clock || bias) makeBlocks(options, sky, t, {orbit, clock, bias}, take);
  }
}

SimulationFiles simulate(const SimulationOptions& options, const std::filesystem::path& directory) {
  checkIntervals(options);
  const Constellation sky(options.sky);
  std::error_code failed;
  std::filesystem::create_directories(directory, failed);
  if (failed) throw InputError(directory.string(), 0, "cannot be made: " + failed.message());
  const SimulationFiles files{directory / "observations.rnx",     directory / "navigation.rnx",
                              directory / "corrections.ssr",      directory / "truth.csv",
                              directory / "truth_satellites.csv", directory / "truth_biases.csv",
                              directory / "stream.rtcm3"};
  writeObservations(options, sky, files);
  writeRinexNav(files.navigation, allMessages(sky));
  writeBiasTruth(files.biasTruth, sky);
  SsrWriter corrections(files.corrections);
  forEachCorrection(options, sky, [&corrections](const SsrBlock& block) { corrections.write(block); });
  if (options.rtcm) writeRtcm(files.stream, files.observations, options, sky);
  return files;
}

}  // namespace gnx
