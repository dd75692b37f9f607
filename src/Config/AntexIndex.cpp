// Walks an antenna file once and remembers where each block begins.

#include "Config/AntexIndex.h"

#include <sys/stat.h>

#include <fstream>
#include <mutex>
#include <tuple>

#include "Common/TextScan.h"

namespace tarvio {

std::string_view s_antexLabel(std::string_view line) { return s_trimmed(s_columns(line, 60, 20)); }

std::shared_ptr<const AntexIndex> AntexIndex::s_of(const std::string& path) {
  using Identity = std::tuple<std::string, off_t, time_t, long>;
  static std::mutex mutex;
  static Identity lastIdentity;
  static std::shared_ptr<const AntexIndex> last;

  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return nullptr;
  const Identity identity(path, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
  const std::lock_guard lock(mutex);
  if (last != nullptr && identity == lastIdentity) return last;
  std::string content;
  if (!s_readFile(path, content)) return nullptr;
  auto index = std::make_shared<AntexIndex>();
  index->m_path = path;
  index->m_scan(content);
  lastIdentity = identity;
  return last = std::move(index);
}

void AntexIndex::m_scan(std::string_view content) {
  std::string_view text = content, line;
  const auto position = [&] { return content.size() - text.size(); };
  while (s_nextLine(text, line)) {
    const std::string_view label = s_antexLabel(line);
    if (label == "PCV TYPE / REFANT") m_pcvType = line.empty() ? ' ' : line[0];
    if (label == "END OF HEADER") break;
  }
  AntexBlock block;
  bool inside = false;
  const auto close = [&](std::size_t end) {
    if (inside && !block.m_typeSerial.empty()) {
      block.m_size = end - block.m_begin;
      m_blocks.push_back(std::move(block));
    }
    block = AntexBlock();
    inside = false;
  };
  for (std::size_t start = position(); s_nextLine(text, line); start = position()) {
    if (line.size() <= 60) continue;
    const char first = line[60];  // only labels with S, E, T matter: most lines are pattern rows
    if (first != 'S' && first != 'E' && first != 'T') continue;
    const std::string_view label = s_antexLabel(line);
    if (label == "START OF ANTENNA") {
      close(start);
      inside = true;
      block.m_begin = position();
    } else if (label == "END OF ANTENNA") {
      close(start);
    } else if (label == "TYPE / SERIAL NO") {
      block.m_typeSerial = line.substr(0, 60);
    }
  }
  close(content.size());
}

std::string AntexIndex::m_read(const AntexBlock& block) const {
  std::string text;
  std::ifstream file(m_path, std::ios::binary);
  if (!file.seekg(static_cast<std::streamoff>(block.m_begin))) return text;
  text.resize(block.m_size);
  file.read(text.data(), static_cast<std::streamsize>(block.m_size));
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

}  // namespace tarvio
