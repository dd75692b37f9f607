#pragma once
/// \file credentials.h
/// Users and passwords of casters, from a file or the environment; they never stand in a message.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "link/stream_url.h"

namespace gnx {

struct Login {
  std::string user, password;
};

/// Lines "HOST[:PORT][/MOUNTPOINT] USER PASSWORD"; # begins a remark. The most exact line counts. Without one
/// the environment variables GNX_NTRIP_USER and GNX_NTRIP_PASSWORD do.
class Credentials {
 public:
  Credentials() = default;
  /// \throws InputError for an unreadable or damaged file, and for one that others may read
  explicit Credentials(const std::filesystem::path& file);
  std::optional<Login> of(const StreamUrl& url) const;

 private:
  struct Entry {
    std::string place;
    Login login;
  };
  std::vector<Entry> m_entries;
};

}  // namespace gnx
