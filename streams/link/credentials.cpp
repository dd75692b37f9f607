// Reads users and passwords of casters.

#include "link/credentials.h"

#include <cstdlib>

#include "gnx/error.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

Credentials::Credentials(const std::filesystem::path& file) {
  namespace fs = std::filesystem;
  TextReader reader(file.string());
  const fs::perms others = fs::status(file).permissions() & (fs::perms::group_all | fs::perms::others_all);
  if (others != fs::perms::none)
    throw InputError(file.string(), 0, "can be read by others; say chmod 600 " + file.string());
  std::string_view line;
  std::vector<std::string_view> words;
  while (reader.next(line)) {
    split(line, words);
    if (words.empty() || words[0].starts_with('#')) continue;
    if (words.size() != 3) reader.fail("login", "is not HOST[:PORT][/MOUNTPOINT], user and password");
    m_entries.push_back({std::string(words[0]), {std::string(words[1]), std::string(words[2])}});
  }
}

std::optional<Login> Credentials::of(const StreamUrl& url) const {
  const std::string port = url.host + ":" + std::to_string(url.port);
  for (const std::string& place : {port + "/" + url.path, url.host + "/" + url.path, port, url.host}) {
    for (const Entry& entry : m_entries)
      if (entry.place == place) return entry.login;
  }
  const char* user = std::getenv("GNX_NTRIP_USER");
  const char* password = std::getenv("GNX_NTRIP_PASSWORD");
  if (user == nullptr) return std::nullopt;
  return Login{user, password == nullptr ? "" : password};
}

}  // namespace gnx
