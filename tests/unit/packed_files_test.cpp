// Files packed in every way that archives use, and standard input.

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "support/host_files.h"
#include "text/text_reader.h"

namespace gnx::test {
namespace {

/// A content packed by libarchive: one filter, or members of a zip file.
std::string packedBy(int filter, const std::string& content, int zipped = 0) {
  std::string bytes(content.size() * 2 + 10000, '\0');
  std::size_t used = 0;
  archive* a = archive_write_new();
  archive_write_add_filter(a, filter);
  zipped > 0 ? archive_write_set_format_zip(a) : archive_write_set_format_raw(a);
  archive_write_set_bytes_in_last_block(a, 1);
  archive_write_open_memory(a, bytes.data(), bytes.size(), &used);
  for (int i = 0; i < std::max(zipped, 1); ++i) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, ("file" + std::to_string(i)).c_str());
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
    archive_write_header(a, entry);
    archive_write_data(a, content.data(), content.size());
    archive_entry_free(entry);
  }
  archive_write_free(a);
  bytes.resize(used);
  return bytes;
}

std::string linesOf(const std::string& path) {
  std::string all;
  TextReader reader(path);
  for (std::string_view line; reader.next(line);) all.append(line) += '\n';
  return all;
}

std::string manyLines() {
  std::string text;
  for (int i = 0; i < 40000; ++i) text += printed("line %d %d\n", i, i * 7919 % 10007);
  return text;
}

// What is not one whole gzip member is not unpacked at once; it comes out, or is refused, all the same.
TEST(PackedFiles, GzipOfSeveralMembersAndDamagedOnes) {
  const TempDir dir;
  const std::string text = manyLines(), bytes = packed(text);
  EXPECT_TRUE(linesOf(dir.write("two.gz", bytes + bytes)) == text + text);
  EXPECT_TRUE(linesOf(dir.write("zeros.gz", bytes + std::string(512, '\0'))) == text);
  for (const std::size_t from_end :
       {std::size_t{2}, std::size_t{6}, bytes.size() / 4}) {  // size, checksum, data
    std::string damaged = bytes;
    damaged[bytes.size() - from_end] ^= 0x11;
    const std::string path = dir.write("damaged.gz", damaged);
    EXPECT_THAT(inputError([&] { linesOf(path); }), ::testing::HasSubstr("damaged")) << from_end;
  }
}

TEST(PackedFiles, AreRecognisedByTheirFirstBytes) {
  const TempDir dir;
  const std::string text = manyLines();
  for (const int filter : {ARCHIVE_FILTER_NONE, ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_COMPRESS,
                           ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ, ARCHIVE_FILTER_ZSTD}) {
    const std::string bytes = packedBy(filter, text);
    ASSERT_FALSE(bytes.empty()) << filter;
    EXPECT_TRUE(linesOf(dir.write("misleading.gz", bytes)) == text) << filter;
    // A cut .Z cannot be told from a whole one; the formats in it have end marks.
    if (filter == ARCHIVE_FILTER_NONE || filter == ARCHIVE_FILTER_COMPRESS) continue;
    const std::string cut = dir.write("cut", bytes.substr(0, bytes.size() / 2));
    EXPECT_THAT(inputError([&] { linesOf(cut); }), HasSubstr("fetch")) << filter;
  }
  EXPECT_TRUE(linesOf(dir.write("file.zip", packedBy(ARCHIVE_FILTER_NONE, text, 1))) == text);
  const std::string two = dir.write("two.zip", packedBy(ARCHIVE_FILTER_NONE, text, 2));
  EXPECT_THAT(inputError([&] { linesOf(two); }), HasSubstr("is an archive of several files; unpack it"));
}

TEST(PackedFiles, StandardInputIsReadFromItsBeginningByEveryReader) {
  const TempDir dir;
  const std::string text = manyLines();
  const int file = ::open(dir.write("file", packedBy(ARCHIVE_FILTER_ZSTD, text)).c_str(), O_RDONLY);
  const int before = ::dup(STDIN_FILENO);
  ::dup2(file, STDIN_FILENO);
  EXPECT_TRUE(linesOf("-") == text);
  EXPECT_TRUE(linesOf("-") == text);
  ::dup2(before, STDIN_FILENO);
  ::close(before);
  ::close(file);
}

}  // namespace
}  // namespace gnx::test
