#pragma once
/// \file AntexIndex.h
/// Where the antenna blocks of an ANTEX file stand. A start-up asks one file (20 MB when complete)
/// for every satellite and for the receiver: the file is walked once, each look-up then reads the
/// few kilobytes of its own block.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarvio {

struct AntexBlock {
  std::string m_typeSerial;  ///< columns 0..59 of "TYPE / SERIAL NO": type 20, serial 20
  std::size_t m_begin = 0;   ///< byte of the line behind "START OF ANTENNA"
  std::size_t m_size = 0;    ///< bytes up to "END OF ANTENNA"
};

class AntexIndex {
 public:
  /// Index of a file, kept until another file (path, size or time of change) is asked for; null
  /// when the file cannot be opened.
  static std::shared_ptr<const AntexIndex> s_of(const std::string& path);

  char m_pcvType = 'A';  ///< 'A' absolute, 'R' relative
  std::vector<AntexBlock> m_blocks;

  /// Text of a block; empty when the file has shrunk meanwhile.
  std::string m_read(const AntexBlock& block) const;

 private:
  void m_scan(std::string_view content);
  std::string m_path;
};

/// Label of an ANTEX line, columns 60..79 without trailing blanks.
std::string_view s_antexLabel(std::string_view line);

}  // namespace tarvio
