// Reads the stations of a fleet.

#include "fleet/fleet_options.h"

#include <json/json.h>

#include <algorithm>
#include <map>
#include <set>

#include "gnx/error.h"
#include "text/json_file.h"
#include "text/nearest_name.h"

namespace gnx {

namespace {

constexpr std::size_t kLongestName = 32;
constexpr int kMostReplicas = 5, kMostHours = 24 * 366, kMostMegabytes = 1 << 24;

const std::vector<std::string> kFleetKeys = {"streams", "defaults", "stations",   "out",
                                             "http",    "nats",     "credentials"};
const std::vector<std::string> kNatsKeys = {"url",        "node",           "credentials",    "replicas",
                                            "keep-hours", "keep-megabytes", "state-megabytes"};
/// Options of a live run that a station cannot have: they are the fleet's, or for one run at a time.
const std::set<std::string> kNotForStations = {"config",      "credentials", "help",  "http",
                                               "out",         "play",        "quiet", "record",
                                               "sourcetable", "speed",       "start", "station-name"};

class FleetReader {
 public:
  FleetReader(std::filesystem::path file, const StationOptions& known)
      : m_file(std::move(file)), m_known(known) {
    for (const std::string& name : known.names)
      if (!kNotForStations.contains(name)) m_stationKeys.push_back(name);
  }

  FleetOptions read() {
    Json::Value root;
    try {
      root = readJson(m_file);
      if (!root.isObject()) fail("", "is no JSON object; docs/fleet.md describes it");
      readWhole(root);
      readStreams(root["streams"]);
      readStations(root);
    } catch (const Json::Exception& e) {
      fail("", std::string("is damaged: ") + e.what());
    }
    return std::move(m_fleet);
  }

 private:
  [[noreturn]] void fail(const std::string& field, const std::string& what) const {
    throw InputError(m_file.string(), 0, field, what);
  }

  void checkKeys(const Json::Value& object, const std::vector<std::string>& known,
                 const std::string& where) const {
    for (const std::string& key : object.getMemberNames()) {
      if (std::ranges::find(known, key) != known.end()) continue;
      const std::string nearest = nearestName(key, known);
      std::string all;
      for (const std::string& name : known) all += (all.empty() ? "" : ", ") + name;
      fail(where, "'" + key + "' is not known here; " +
                      (nearest.empty() ? "there are " + all : "did you mean '" + nearest + "'?"));
    }
  }

  std::string text(const Json::Value& object, const std::string& key, const std::string& otherwise) const {
    if (!object.isMember(key)) return otherwise;
    if (!object[key].isString() && !object[key].isNumeric()) fail(key, "is no text; put it in quotes");
    return object[key].asString();
  }
  int whole(const Json::Value& object, const std::string& key, int otherwise, int most) const {
    if (!object.isMember(key)) return otherwise;
    if (!object[key].isInt() || object[key].asInt() < 1 || object[key].asInt() > most)
      fail(key, "is no whole number from 1 to " + std::to_string(most));
    return object[key].asInt();
  }

  void readWhole(const Json::Value& root) {
    checkKeys(root, kFleetKeys, "");
    m_fleet.out = text(root, "out", m_fleet.out.string());
    m_fleet.http = text(root, "http", "");
    m_fleet.credentials = text(root, "credentials", "");
    const Json::Value& nats = root["nats"];
    if (nats.isNull()) return;
    ClusterOptions& cluster = m_fleet.cluster;
    if (nats.isString()) {
      cluster.url = nats.asString();
      return;
    }
    if (!nats.isObject()) fail("nats", "is neither a URL nor an object with one");
    checkKeys(nats, kNatsKeys, "nats");
    cluster.url = text(nats, "url", "");
    cluster.node = text(nats, "node", "");
    cluster.credentials = text(nats, "credentials", "");
    cluster.replicas = whole(nats, "replicas", cluster.replicas, kMostReplicas);
    cluster.keepHours = whole(nats, "keep-hours", cluster.keepHours, kMostHours);
    cluster.keepMegabytes = whole(nats, "keep-megabytes", cluster.keepMegabytes, kMostMegabytes);
    cluster.stateMegabytes = whole(nats, "state-megabytes", cluster.stateMegabytes, kMostMegabytes);
    if (cluster.url.empty()) fail("nats", "has no url; name a server, such as \"nats://localhost:4222\"");
  }

  /// Names are directories, labels of metrics and parts of subjects.
  void checkName(const std::string& name, const std::string& where) const {
    const auto allowed = [](char c) {
      return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
             c == '-';
    };
    if (name.empty() || name.size() > kLongestName || !std::ranges::all_of(name, allowed))
      fail(where, "'" + name + "' is no name; take up to " + std::to_string(kLongestName) +
                      " letters, digits, '_' and '-'");
  }

  void readStreams(const Json::Value& streams) {
    if (streams.isNull()) return;
    if (!streams.isObject()) fail("streams", "is no object of URLs by name, {\"A\": \"ntrip://...\"}");
    for (const std::string& name : streams.getMemberNames()) {
      checkName(name, "streams");
      if (!streams[name].isString()) fail("streams: " + name, "is no URL; put it in quotes");
      try {
        m_fleet.streams.push_back({name, parseStreamUrl(streams[name].asString()), 0});
      } catch (const UsageError& e) {
        fail("streams: " + name, e.what());
      }
      const auto same = std::ranges::find_if(m_fleet.streams, [&](const FleetStream& s) {
        return s.name != name && s.url.text == m_fleet.streams.back().url.text;
      });
      if (same != m_fleet.streams.end())
        fail("streams: " + name, "has the URL of " + same->name + "; one name for it is enough");
    }
  }

  void readStations(const Json::Value& root) {
    const Json::Value& defaults = root["defaults"];
    if (!defaults.isNull() && !defaults.isObject()) fail("defaults", "is no object of options");
    if (!defaults.isNull()) checkKeys(defaults, m_stationKeys, "defaults");
    const Json::Value& stations = root["stations"];
    if (!stations.isArray() || stations.empty())
      fail("stations", "is no list of stations; give {\"name\": \"ROME\", \"obs\": \"ntrip://...\"}");
    std::set<std::string> names;
    for (Json::ArrayIndex i = 0; i < stations.size(); ++i) {
      const Json::Value& given = stations[i];
      const std::string number = "station " + std::to_string(i + 1);
      if (!given.isObject()) fail(number, "is no object with a name and options");
      const std::string name = text(given, "name", "");
      checkName(name, number);
      if (!names.insert(name).second)
        fail("station " + name, "is there twice; give one of them another name");
      m_fleet.stations.push_back(readStation(name, given, defaults));
    }
  }

  FleetStation readStation(const std::string& name, const Json::Value& given, const Json::Value& defaults) {
    const std::string where = "station " + name;
    std::vector<std::string> known = m_stationKeys;
    known.insert(known.begin(), "name");
    checkKeys(given, known, where);
    Json::Value options = defaults.isNull() ? Json::Value(Json::objectValue) : defaults;
    if (given.isMember("deployment"))
      for (const std::string& key : m_known.deployed) options.removeMember(key);
    for (const std::string& key : given.getMemberNames())
      if (key != "name") options[key] = given[key];
    for (const char* key : {"obs", "eph", "ssr", "json", "nmea"})
      if (options.isMember(key)) options[key] = namedUrls(options[key], key, name);
    if (!options.isMember("obs"))
      fail(where, "has no observations; give a URL or the name of a stream as \"obs\"");
    options["station-name"] = name;
    FleetStation station;
    station.name = name;
    try {
      Json::StreamWriterBuilder writer;
      station.words = wordsOfJson(Json::writeString(writer, options), m_file.string());
      station.options = m_known.read(station.words);
      for (const PlannedSource& source : planSources(station.options)) {
        if (source.url.scheme == StreamScheme::file || source.url.scheme == StreamScheme::standard)
          throw UsageError("'" + source.url.text +
                           "' is no stream of now; files are for 'gnx live' and 'gnx replay'");
        station.sources.push_back({source, shared(source)});
      }
    } catch (const InputError& e) {
      fail(where + ": " + e.field(), std::string(e.cause()));
    } catch (const Error& e) {
      const std::string what = e.what();
      fail(where, what.starts_with("--") ? what.substr(2) : what);
    }
    return station;
  }

  /// Texts or a list of them, with the station's name put in and names of streams replaced by their URLs.
  Json::Value namedUrls(const Json::Value& given, const std::string& key, const std::string& station) const {
    const std::string where = "station " + station + ": " + key;
    Json::Value list(Json::arrayValue);
    const auto add = [&](const Json::Value& one) {
      if (!one.isString()) fail(where, "is no text or list of texts");
      std::string url = one.asString();
      for (std::size_t at = 0; (at = url.find("[SITE]")) != std::string::npos;) url.replace(at, 6, station);
      if (key != "json" && key != "nmea") url = urlOf(url, key == "obs", where);
      list.append(url);
    };
    if (given.isArray())
      for (const Json::Value& one : given) add(one);
    else add(given);
    return list;
  }

  std::string urlOf(const std::string& text, bool mayBeUrl, const std::string& where) const {
    std::vector<std::string> names;
    for (const FleetStream& stream : m_fleet.streams) {
      if (stream.name == text) return stream.url.text;
      names.push_back(stream.name);
    }
    if (mayBeUrl && text.find(':') != std::string::npos) return text;
    const std::string nearest = nearestName(text, names);
    fail(where,
         "'" + text + "' is no stream; " +
             (nearest.empty() ? "give it a URL under \"streams\"" : "did you mean '" + nearest + "'?"));
  }

  /// The name of the shared stream that a source is, and notes what is taken from it.
  std::string shared(const PlannedSource& source) {
    for (FleetStream& stream : m_fleet.streams) {
      if (stream.url.text != source.url.text) continue;
      stream.roles |= source.source.roles;
      return stream.name;
    }
    return "";
  }

  std::filesystem::path m_file;
  const StationOptions& m_known;
  std::vector<std::string> m_stationKeys;
  FleetOptions m_fleet;
};

}  // namespace

FleetOptions readFleet(const std::filesystem::path& file, const StationOptions& known) {
  FleetOptions fleet = FleetReader(file, known).read();
  std::erase_if(fleet.streams, [](const FleetStream& stream) { return stream.roles == 0; });
  return fleet;
}

}  // namespace gnx
