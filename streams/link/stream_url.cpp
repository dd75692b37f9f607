// Takes URLs of streams apart.

#include "link/stream_url.h"

#include <array>
#include <set>
#include <string_view>

#include "gnx/error.h"
#include "text/fields.h"

namespace gnx {

namespace {

struct SchemeRule {
  std::string_view name;
  StreamScheme scheme;
  int port;  ///< usual one; -1: none is usual, 0: no network
  std::set<std::string> options;
};

const std::array<SchemeRule, 6>& schemeRules() {
  static const std::array<SchemeRule, 6> rules = {{
      {"ntrip", StreamScheme::ntrip, 2101, {"version", "gga", "silence"}},
      {"ntrips", StreamScheme::ntrips, 443, {"version", "gga", "silence", "ca"}},
      {"tcp", StreamScheme::tcp, -1, {"silence"}},
      {"tcp-listen", StreamScheme::tcpListen, -1, {"silence"}},
      {"serial", StreamScheme::serial, 0, {"speed", "silence"}},
      {"file", StreamScheme::file, 0, {"speed"}},
  }};
  return rules;
}

[[noreturn]] void refuse(const StreamUrl& url, const std::string& what) {
  throw UsageError("'" + url.text + "' " + what);
}

void takeOptions(StreamUrl& url, std::string_view text, const SchemeRule& rule) {
  while (!text.empty()) {
    const auto end = text.find('&');
    const std::string_view pair = text.substr(0, end);
    const auto equals = pair.find('=');
    const std::string key(pair.substr(0, equals));
    if (equals == std::string_view::npos || !rule.options.contains(key)) {
      std::string known;
      for (const std::string& option : rule.options) known += (known.empty() ? "" : ", ") + option;
      refuse(url, "has the option '" + key + "'; " + std::string(rule.name) + ":// knows " + known);
    }
    url.options[key] = std::string(pair.substr(equals + 1));
    text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
  }
}

/// "host:port", "[::1]:port", "host"
void takeHost(StreamUrl& url, std::string_view text, int usualPort) {
  const auto bracket = text.starts_with('[') ? text.find(']') : std::string_view::npos;
  const auto colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const std::string_view host = text.substr(0, colon);
  url.host = bracket == std::string_view::npos ? host : host.substr(1, bracket - 1);
  url.port = usualPort;
  if (colon != std::string_view::npos) url.port = parseInt(text.substr(colon + 1)).value_or(0);
  if (url.host.empty() && url.scheme != StreamScheme::tcpListen) refuse(url, "names no host");
  if (url.port < 1 || url.port > 65535)
    refuse(url, "names no port; a number from 1 to 65535 stands behind ':'");
}

}  // namespace

std::optional<double> StreamUrl::number(const std::string& option) const {
  const auto found = options.find(option);
  if (found == options.end()) return std::nullopt;
  const auto value = parseReal(found->second);
  if (!value || *value < 0.0) refuse(*this, "has no number behind " + option + "=");
  return value;
}

StreamUrl parseStreamUrl(const std::string& text) {
  StreamUrl url;
  url.text = text;
  if (text == "-") return url;
  const auto separator = text.find("://");
  if (separator == std::string::npos) {  // the name of a file
    if (text.empty()) throw UsageError("a URL is empty; give one such as ntrip://caster:2101/MOUNTPOINT");
    url.scheme = StreamScheme::file;
    url.path = text;
    return url;
  }
  const SchemeRule* rule = nullptr;
  for (const SchemeRule& r : schemeRules())
    if (r.name == std::string_view(text).substr(0, separator)) rule = &r;
  if (rule == nullptr)
    refuse(url, "is of no kind that is known; give ntrip, ntrips, tcp, tcp-listen, serial, file, or -");
  url.scheme = rule->scheme;
  std::string_view rest = std::string_view(text).substr(separator + 3);
  const auto query = rest.find('?');
  if (query != std::string_view::npos) takeOptions(url, rest.substr(query + 1), *rule);
  rest = rest.substr(0, query);
  if (rule->port == 0) {
    url.path = rest;
    if (url.path.empty())
      refuse(url, "names no file; give one such as " + std::string(rule->name) + ":///path");
  } else {
    const auto slash = rest.find('/');
    const std::string_view authority = rest.substr(0, slash);
    if (authority.find('@') != std::string_view::npos) {
      url.text = std::string(rule->name) + "://...";
      refuse(url,
             "holds a user or a password, which a list of processes shows; put them into a file and name it "
             "with --credentials");
    }
    takeHost(url, authority, rule->port);
    if (slash != std::string_view::npos) url.path = rest.substr(slash + 1);
  }
  for (const auto& [key, value] : url.options)
    if (key != "ca") url.number(key);
  return url;
}

}  // namespace gnx
