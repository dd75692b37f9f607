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

}  // namespace

std::string stateIdentity(const LiveRunOptions& options, const Deployment& deployment) {
  std::string text = GNX_VERSION;
  for (const auto* urls : {&options.obs, &options.ssr}) {
    text += '\n';
    for (const std::string& url : *urls) text += url.substr(0, url.find('?')) + ' ';
  }
  for (const char* key : {"antpcv", "satnav"}) {
    const fs::path file = deployment.file(key);
    text += '\n' + (fs::exists(file) ? checksumOf(readTextFile(file)) : "");
  }
  std::vector<fs::path> files;
  for (const auto& file : fs::directory_iterator(deployment.directory()))
    if (file.path().extension() == ".json") files.push_back(file.path());
  std::ranges::sort(files);
  for (const fs::path& file : files)
    text += '\n' + file.filename().string() + ' ' + checksumOf(withoutDate(readTextFile(file)));
  return text;
}

StateKeeper::StateKeeper(const fs::path& directory, std::function<void(const std::string&)> say)
    : m_file(directory / kName), m_say(std::move(say)) {}

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
    if (const auto state = station.state()) writeStateFile(m_file, bytesOf(*state));
  } catch (const Error& e) {
    m_say(std::string("the state was not saved: ") + e.what());
  }
}

void resumeRecorded(const fs::path& recording, LiveStation& station) {
  if (const auto bytes = readStateFile(recording / kName))
    if (auto state = stationStateOf(*bytes)) {
      state->identity = station.identity();
      station.resume(*state);
    }
}

}  // namespace gnx
