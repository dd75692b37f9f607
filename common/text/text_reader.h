#pragma once
/// \file text_reader.h
/// Lines of a text file, plain or packed, with their numbers; and text files read and written whole.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace gnx {

class ByteSource;

/// Reads a file line by line. Memory is bounded by the longest line allowed (1 MB), whatever the
/// file holds. Complete lines in front of damage are delivered first, then the damage is reported.
///
/// Throws InputError: file missing or a directory, truncated or corrupt packed data, binary data, a line
/// without end.
class TextReader {
 public:
  /// \param path  plain, .gz, .Z, .bz2, .xz, .zst or .zip, whatever the name; "-" is standard input
  explicit TextReader(std::string path);
  virtual ~TextReader();
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;

  /// The next line without its end; valid until the next call. False at the end of the file.
  bool next(std::string_view& line);
  /// Reads past whatever stands behind the end mark of a format: the checksum of a packed file comes last,
  /// and only it tells of damage that still reads as text. Lines behind the mark are not looked at.
  void finish();
  /// The next call of next() delivers the same line again.
  void unread() { m_again = true; }

  /// Number of the line delivered last, from 1.
  long line() const { return m_line; }
  /// Whether the line delivered last had an end of line; false hints at a truncated file.
  bool terminated() const { return m_terminated; }
  const std::string& path() const { return m_path; }

  /// Throws an InputError for the line delivered last: "file:line: field: what".
  [[noreturn]] void fail(const std::string& field, const std::string& what) const;
  /// The same for data that are missing at the end of the file.
  [[noreturn]] void failAtEnd(const std::string& what) const;

 protected:
  /// Brings the next line, as next() delivers it: readers of a form that is expanded into other lines
  /// override it. False at the end of the file.
  virtual bool advance(std::string_view& line);

 private:
  /// Brings more bytes into the buffer; false when there are none.
  bool fill();

  std::string m_path;
  std::unique_ptr<ByteSource> m_bytes;
  std::vector<char> m_buffer;
  std::size_t m_begin = 0, m_end = 0;
  bool m_atEnd = false, m_terminated = true, m_again = false;
  std::string m_damage;  ///< reported when the lines in front of it are consumed
  std::string_view m_last;
  long m_line = 0;
};

/// The whole of a plain file; "" when there is none.
std::string readTextFile(const std::filesystem::path& file);
/// Makes a directory and those above it. Throws InputError, which names the option that chose it.
void makeDirectory(const std::filesystem::path& directory, const std::string& option);
/// Throws InputError when it cannot be written.
void writeTextFile(const std::filesystem::path& file, std::string_view text);

}  // namespace gnx
