#pragma once
/// \file stream_url.h
/// Where bytes come from or go to, as a URL.
///
///     ntrip://HOST[:2101]/MOUNTPOINT   ntrips://HOST[:443]/MOUNTPOINT   ?version=1 or 2, gga=seconds,
///     ca=FILE tcp://HOST:PORT                  tcp-listen://HOST:PORT serial:///dev/ttyUSB0 ?speed=115200
///     file:///path                     ?speed=1 as recorded, 10 ten times as fast, 0 as fast as possible
///     -                                standard input or output
///
/// Sources take ?silence=seconds as well: a connection that brings nothing for so long is made anew.

#include <map>
#include <optional>
#include <string>

namespace gnx {

enum class StreamScheme { ntrip, ntrips, tcp, tcpListen, serial, file, standard };

struct StreamUrl {
  StreamScheme scheme = StreamScheme::standard;
  std::string host;  ///< of a network
  int port = 0;
  std::string path;  ///< mountpoint, device or file
  std::map<std::string, std::string> options{};
  std::string text;  ///< as it was given

  bool ofCaster() const { return scheme == StreamScheme::ntrip || scheme == StreamScheme::ntrips; }
  /// A number among the options. \throws UsageError for something else
  std::optional<double> number(const std::string& option) const;
};

/// \throws UsageError that says what is wrong; also for a URL that holds a password, which every list of
/// processes would show
StreamUrl parseStreamUrl(const std::string& text);

}  // namespace gnx
