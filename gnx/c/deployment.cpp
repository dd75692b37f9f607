// Deployments and streams of files in C.

#include "c/objects.h"
#include "gnx/satellite.h"

namespace gnx::c {

// Kept to the end of the process: a host may close its handles at its very end.
Handles<gnx_deployment, Deployment>& deployments() {
  static auto& open = *new Handles<gnx_deployment, Deployment>;
  return open;
}
Handles<gnx_stream, EventStream>& streams() {
  static auto& open = *new Handles<gnx_stream, EventStream>;
  return open;
}
Handles<gnx_engine, EngineAndSolution>& engines() {
  static auto& open = *new Handles<gnx_engine, EngineAndSolution>;
  return open;
}

SatName satelliteOf(const char (&field)[4]) {
  const std::string text = fieldText(field, "satellite");
  const auto name = parseSat(text);
  if (!name) fail(GNX_BAD_ARGUMENT, "'" + text + "' is no satellite such as G05");
  return *name;
}

GpsTime timeOf(const gnx_time& t) {
  constexpr std::int64_t kEnd = 4102444800;
  if (t.seconds < 0 || t.seconds >= kEnd || !(t.fraction >= 0.0 && t.fraction < 1.0))
    fail(GNX_BAD_ARGUMENT,
         "a time is no point between 1970 and 2100 with a fraction of a second from 0 to 1");
  return {t.seconds, t.fraction};
}

namespace {

DeploymentOptions optionsOf(const gnx_deployment_options* from) {
  DeploymentOptions options;
  if (from == nullptr) return options;
  checkSize<gnx_deployment_options>(from->size, "options");
  if (from->systems) options.systems = from->systems;
  if (from->antex) options.antex = from->antex;
  if (from->mode) options.run.mode = parseMode(from->mode);
  if (from->interval_s != 0.0) options.run.interval_s = from->interval_s;
  if (from->cutoff_deg != 0.0) options.run.cutoff_deg = from->cutoff_deg;
  options.date = timeOf(from->date);
  if (from->orbits_to_antenna) options.refpoint = "APC_ITRF";
  options.resolution = from->no_integers == 0;
  return options;
}

gnx_deployment* opened(Deployment deployment) {
  return deployments().open(std::make_shared<Held<Deployment>>(std::move(deployment)));
}

}  // namespace

}  // namespace gnx::c

using namespace gnx::c;

extern "C" {

gnx_status gnx_deployment_make(const char* directory, const gnx_deployment_options* options,
                               gnx_deployment** deployment) {
  return guarded([&] {
    gnx_deployment*& out = required(deployment, "deployment");
    out = opened(gnx::Deployment::make(&required(directory, "directory"), optionsOf(options)));
  });
}

gnx_status gnx_deployment_open(const char* directory, gnx_deployment** deployment) {
  return guarded([&] {
    gnx_deployment*& out = required(deployment, "deployment");
    out = opened(gnx::Deployment::open(&required(directory, "directory")));
  });
}

gnx_status gnx_deployment_check(gnx_deployment* deployment, char* text, size_t capacity, size_t* needed) {
  return guarded([&] {
    const auto sentences = with(deployments(), deployment, [](const auto& d) { return d.check(); });
    std::string all;
    for (const std::string& sentence : sentences) all += (all.empty() ? "" : "\n") + sentence;
    copyText(all, text, capacity, needed);
  });
}

gnx_status gnx_deployment_close(gnx_deployment* deployment) {
  return guarded([&] { deployments().close(deployment); });
}

gnx_status gnx_stream_open(const char* const* files, size_t count, gnx_deployment* deployment,
                           gnx_stream** stream) {
  return guarded([&] {
    gnx_stream*& out = required(stream, "stream");
    constexpr size_t kMostFiles = 100000;
    if (count == 0 || count > kMostFiles) fail(GNX_BAD_ARGUMENT, "a stream has one file at least");
    required(files, "files");
    std::vector<std::string> names;
    for (size_t k = 0; k < count; ++k) names.emplace_back(&required(files[k], "a file name"));
    gnx::ReadOptions options;
    if (deployment != nullptr)
      options.deployment = with(deployments(), deployment, [](const auto& d) { return d; });
    out = streams().open(std::make_shared<Held<gnx::EventStream>>(gnx::read(names, options)));
  });
}

gnx_status gnx_stream_close(gnx_stream* stream) {
  return guarded([&] { streams().close(stream); });
}
}
