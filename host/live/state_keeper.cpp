// When states are kept, and which are taken.

#include "live/state_keeper.h"

#include <zlib.h>

#include <algorithm>

#include "gnx/error.h"
#include "live/state_file.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "live.state";
constexpr double kFirst_s = 5.0, kEvery_s = 60.0;
constexpr double kOldest_s = 600.0;  ///< the engine takes one of 300 s; a clock may be off

std::string checksumOf(const std::string& text) {
  const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(text.data()), text.size());
  return printed("%08lx", static_cast<unsigned long>(sum));
}

/// A deployment of the run's own is made for its date.
std::string withoutDate(const std::string& text) {
  const std::size_t at = text.find("\"TIME\"");
  if (at == std::string::npos) return text;
  return text.substr(0, at) + text.substr(std::min(text.find('\n', at), text.size()));
}

/// Settings as they are used: a fleet's stations share a directory that names one of them.
std::string settingsText(const RunSettings& run) {
  const Vector3 delta = run.antennaDelta_m.value_or(Vector3{});
  return printed("%s %.17g %.17g '%s' %.17g %.17g %.17g %d %.17g %.17g %.17g", nameOf(run.mode),
                 run.interval_s, run.cutoff_deg, run.antenna.c_str(), run.position_m[0], run.position_m[1],
                 run.position_m[2], run.antennaDelta_m.has_value() ? 1 : 0, delta[0], delta[1], delta[2]);
}

}  // namespace

std::string stateIdentity(const LiveRunOptions& options, const Deployment& deployment) {
  std::string text = GNX_VERSION;
  for (const auto* urls : {&options.obs, &options.ssr}) {
    text += '\n';
    for (const std::string& url : *urls) text += url.substr(0, url.find('?')) + ' ';
  }
  text += '\n' + settingsText(deployment.settings);
  for (const char* key : {"antpcv", "satnav"}) {
    const fs::path file = deployment.file(key);
    text += '\n' + (fs::exists(file) ? checksumOf(readTextFile(file)) : "");
  }
  std::vector<fs::path> files;
  for (const auto& file : fs::directory_iterator(deployment.directory()))
    if (file.path().extension() == ".json" && file.path().filename() != "gnx.json")
      files.push_back(file.path());
  std::ranges::sort(files);
  for (const fs::path& file : files)
    text += '\n' + file.filename().string() + ' ' + checksumOf(withoutDate(readTextFile(file)));
  return text;
}

StateKeeper::StateKeeper(const fs::path& directory, Say say, Say send)
    : m_file(directory / kName), m_say(std::move(say)), m_send(std::move(send)) {}

void StateKeeper::take(const GpsTime& now, LiveStation& station, const fs::path& record) {
  try {
    const auto bytes = takeStateFile(m_file);
    if (!bytes) return;
    const auto state = stationStateOf(*bytes);
    if (!state || now - state->epoch > kOldest_s)
      return m_say("the saved state is too old; the run begins anew");
    if (!record.empty()) writeStateFile(record / kName, *bytes);
    station.resume(*state);
  } catch (const Error& e) {
    m_say(e.what());
  }
}

void StateKeeper::keepInTime(const GpsTime& now, LiveStation& station) {
  if (!m_next) m_next = now + kFirst_s;
  if (now < *m_next) return;
  m_next = now + kEvery_s;
  keep(station);
}

void StateKeeper::keep(LiveStation& station) {
  try {
    const auto state = station.state();
    if (!state) return;
    const std::string bytes = bytesOf(*state);
    if (m_send) m_send(bytes);
    writeStateFile(m_file, bytes);
  } catch (const Error& e) {
    m_say(std::string("the state was not saved: ") + e.what());
  }
}

void placeState(const fs::path& directory, const std::string& bytes) {
  const auto placed = stationStateOf(bytes);
  if (!placed) return;
  fs::create_directories(directory);
  std::optional<StationState> there;
  try {
    if (const auto own = readStateFile(directory / kName)) there = stationStateOf(*own);
  } catch (const InputError&) {  // damaged; the one from elsewhere replaces it
  }
  if (!there || there->epoch < placed->epoch) writeStateFile(directory / kName, bytes);
}

void resumeRecorded(const fs::path& recording, LiveStation& station) {
  if (const auto bytes = readStateFile(recording / kName))
    if (auto state = stationStateOf(*bytes)) {
      state->identity = station.identity();
      station.resume(*state);
    }
}

}  // namespace gnx
