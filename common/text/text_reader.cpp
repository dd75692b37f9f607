// Splits text into lines, and tells a whole archive from a damaged one.

#include "text/text_reader.h"

#include <cstring>
#include <fstream>
#include <system_error>

#include "gnx/error.h"
#include "text/byte_source.h"

namespace gnx {

namespace {
constexpr std::size_t kChunk = std::size_t{1} << 18;
constexpr std::size_t kLongestLine = std::size_t{1} << 20;
}  // namespace

TextReader::TextReader(std::string path) : m_path(std::move(path)) {
  std::error_code error;
  if (std::filesystem::is_directory(m_path, error)) {
    throw InputError(m_path, 0, "is a directory; name a file");
  }
  m_bytes = openBytes(m_path);
  m_buffer.resize(kChunk);
  fill();
}

TextReader::~TextReader() = default;

bool TextReader::fill() {
  if (m_atEnd) return false;
  if (m_begin > 0) {
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
  }
  if (m_end == m_buffer.size()) {
    if (m_buffer.size() >= kLongestLine) {
      throw InputError(m_path, m_line + 1, "line of more than a million characters; this is not a text file");
    }
    m_buffer.resize(m_buffer.size() * 2);
  }
  const std::size_t room = m_buffer.size() - m_end;
  const std::size_t got = m_bytes->read(m_buffer.data() + m_end, room);
  m_end += got;
  m_damage = m_bytes->damage();
  if (got == 0 || !m_damage.empty()) m_atEnd = true;
  return got > 0;
}

bool TextReader::next(std::string_view& line) {
  if (m_again) {
    m_again = false;
    line = m_last;
    return true;
  }
  if (!advance(line)) return false;
  m_last = line;
  return true;
}

bool TextReader::advance(std::string_view& line) {
  std::size_t searched = m_begin;
  const char* newline = nullptr;
  while (true) {
    newline = static_cast<const char*>(
        m_end > searched ? std::memchr(m_buffer.data() + searched, '\n', m_end - searched) : nullptr);
    if (newline != nullptr) break;
    searched = m_end - m_begin;
    if (!fill()) break;
  }
  if (newline == nullptr) {
    // Whatever stands in front of damage without an end of line is a part of a line only.
    if (!m_damage.empty()) throw InputError(m_path, m_line + 1, m_damage);
    if (m_begin == m_end) return false;
  }
  const char* first = m_buffer.data() + m_begin;
  const char* last = newline != nullptr ? newline : m_buffer.data() + m_end;
  m_begin = static_cast<std::size_t>(last - m_buffer.data()) + (newline != nullptr ? 1 : 0);
  m_terminated = newline != nullptr;
  ++m_line;
  line = {first, static_cast<std::size_t>(last - first)};
  if (line.find('\0') != std::string_view::npos) {
    throw InputError(
        m_path, m_line,
        "holds binary data; this is not a text file, or it is damaged: unpack an archive, or fetch it "
        "again");
  }
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";  // editors put it there
  if (m_line == 1 && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  return true;
}

void TextReader::finish() {
  do {
    m_begin = m_end;
  } while (fill());
  if (!m_damage.empty()) throw InputError(m_path, m_line + 1, m_damage);
}

void TextReader::fail(const std::string& field, const std::string& what) const {
  throw InputError(m_path, m_line, field, what);
}

void TextReader::failAtEnd(const std::string& what) const { throw InputError(m_path, m_line, what); }

std::string readTextFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void makeDirectory(const std::filesystem::path& directory, const std::string& option) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (error)
    throw InputError(directory.string(), 0,
                     "cannot be made (" + error.message() + "); choose another " + option);
}

void writeTextFile(const std::filesystem::path& file, std::string_view text) {
  std::ofstream out(file, std::ios::binary);
  out << text;
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

}  // namespace gnx
