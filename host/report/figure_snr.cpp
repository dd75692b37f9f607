// Carrier-to-noise density by elevation, from the observation files themselves.

#include <cmath>
#include <map>
#include <set>

#include "gnx/read.h"
#include "report/figure_frame.h"
#include "report/system_order.h"

namespace gnx {

namespace {

constexpr long kMostEpochs = 20000;  ///< a day of seconds takes too long to be read for a figure

/// Elevation of a satellite by its name and whole second.
using Elevations = std::map<std::pair<SatName, std::int64_t>, double>;

std::int64_t secondOf(const GpsTime& time) { return time.seconds + (time.fraction >= 0.5 ? 1 : 0); }

Elevations elevationsOf(const RunFiles& run) {
  Elevations elevations;
  for (const Residual& r : run.residuals)
    if (r.phase && parseSat(r.satellite)) elevations[{r.satellite, secondOf(r.time)}] = r.elevationDeg;
  return elevations;
}

/// Of the lowest band that the satellite is seen on; 0 when the receiver does not tell.
double firstSnr(const SatObs& satellite) {
  const SignalObs* first = nullptr;
  for (const SignalObs& signal : satellite.signals)
    if (signal.snr > 0.0 && (first == nullptr || signal.code[0] < first->code[0])) first = &signal;
  return first == nullptr ? 0.0 : first->snr;
}

std::map<char, std::vector<PlotPoint>, SystemOrder> cloudsOf(const RunFiles& run) {
  const Elevations elevations = elevationsOf(run);
  std::map<char, std::vector<PlotPoint>, SystemOrder> clouds;
  long epochs = 0;
  for (const std::string& file : run.plan.obs) {
    ObservationReader reader(file);
    for (ObsEpoch epoch; epochs < kMostEpochs && reader.next(epoch); ++epochs)
      for (const SatObs& satellite : epoch.sats) {
        const auto elevation = elevations.find({satellite.sat, secondOf(epoch.time)});
        const double snr = elevation == elevations.end() ? 0.0 : firstSnr(satellite);
        if (snr > 0.0) clouds[satellite.sat[0]].push_back({elevation->second, snr});
      }
  }
  return clouds;
}

}  // namespace

std::optional<Figure> drawSnr(const Frame& f) {
  std::map<char, std::vector<PlotPoint>, SystemOrder> clouds;
  try {
    if (!f.run.residuals.empty()) clouds = cloudsOf(f.run);
  } catch (const InputError&) {  // the files have been moved since
  }
  if (clouds.empty()) return std::nullopt;
  f.plot.figure(kWidth, 300);
  f.plot.add(
      "set lmargin at screen 0.075\nset rmargin at screen 0.985\nset xrange [0:90]\nset xtics 10\nset xlabel "
      "'elevation [°]'\nset ylabel 'C/N0 [dB-Hz]' offset 1\nset key at graph 1,1 bottom right horizontal");
  PlotCommand command;
  for (const auto& [system, points] : clouds)
    command.addCloud(f.plot.data(thinCloud(points, kCloudPoints)), systemColor(system), systemName(system),
                     systemPoint(system));
  f.plot.add(command.text());
  return Figure{"snr", "Signal to noise by elevation", "First frequency of each satellite.", "", false};
}

}  // namespace gnx
