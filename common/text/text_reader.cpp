// Unpacks and splits text into lines, and tells a whole archive from a damaged one.

#include "text/text_reader.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

#include "gnx/error.h"

namespace gnx {

namespace {
constexpr std::size_t kChunk = std::size_t{1} << 18;
constexpr std::size_t kLongestLine = std::size_t{1} << 20;
}  // namespace

void TextReader::Close::operator()(gzFile_s* file) const { gzclose(file); }

TextReader::TextReader(std::string path) : m_path(std::move(path)) {
  std::error_code error;
  if (std::filesystem::is_directory(m_path, error)) {
    throw InputError(m_path, 0, "is a directory; name a file");
  }
  errno = 0;
  m_file.reset(gzopen(m_path.c_str(), "rb"));
  if (!m_file) {
    throw InputError(m_path, 0,
                     std::string("cannot be opened (") + std::strerror(errno != 0 ? errno : ENOMEM) +
                         "); check the name and the permissions");
  }
  gzbuffer(m_file.get(), static_cast<unsigned>(kChunk));
  m_buffer.resize(kChunk);
  if (fill()) refuseOtherFormats();
}

TextReader::~TextReader() = default;

void TextReader::refuseOtherFormats() const {
  const std::string_view head{m_buffer.data(), std::min<std::size_t>(m_end, 60)};
  const auto startsWith = [&](std::string_view magic) { return head.substr(0, magic.size()) == magic; };
  if (startsWith("\x1f\x9d") || startsWith("PK\x03\x04") || startsWith("BZh") ||
      startsWith("\xfd"
                 "7zXZ")) {
    throw InputError(m_path, 0,
                     "is compressed in a way that is not read here; unpack it or pack it with gzip");
  }
  if (head.find("COMPACT RINEX") != std::string_view::npos) {
    throw InputError(m_path, 1, "is a Hatanaka-compressed (compact) RINEX file; expand it first");
  }
}

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
  const int got = gzread(m_file.get(), m_buffer.data() + m_end, static_cast<unsigned>(room));
  if (got > 0) m_end += static_cast<std::size_t>(got);

  // A truncated stream delivers what it holds and leaves Z_BUF_ERROR behind.
  if (got < 0 || static_cast<std::size_t>(got) < room) {
    int status = Z_OK;
    gzerror(m_file.get(), &status);
    if (status != Z_OK && status != Z_STREAM_END) {
      m_damage = status == Z_BUF_ERROR ? "compressed data end early, the file is truncated; fetch it again"
                                       : "compressed data are damaged; fetch the file again";
      m_atEnd = true;
    } else if (got <= 0) {
      m_atEnd = true;
    }
  }
  return got > 0;
}

bool TextReader::next(std::string_view& line) {
  if (m_again) {
    m_again = false;
    line = m_last;
    return true;
  }
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
    throw InputError(m_path, m_line, "holds binary data; this is not a text file, or it is damaged");
  }
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  m_last = line;
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

void writeTextFile(const std::filesystem::path& file, std::string_view text) {
  std::ofstream out(file, std::ios::binary);
  out << text;
  if (!out.flush())
    throw InputError(file.string(), 0, "cannot be written; check the directory and free space");
}

}  // namespace gnx
