// Unpacks files: gzip by zlib, whose checksums tell of damage, or at once by libdeflate, the other kinds by
// libarchive.

#include "text/byte_source.h"

#include <archive.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
#ifdef GNX_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "gnx/error.h"

namespace gnx {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kChunk = std::size_t{1} << 18;
constexpr const char* kTruncated = "compressed data end early, the file is truncated; fetch it again";
constexpr const char* kDamaged = "compressed data are damaged; fetch the file again";

/// A file descriptor that is closed with the object.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor() {
    if (m_number >= 0) ::close(m_number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return m_number; }
  int release() { return std::exchange(m_number, -1); }

 private:
  int m_number;
};

#ifdef GNX_LIBDEFLATE
/// A gzip file of one member as a whole, three times as fast as in pieces. Nothing for larger files and for
/// those with anything unusual, which zlib takes or refuses piece by piece.
std::vector<char> wholeGzip(int file) {
  constexpr off_t kLeast = 18, kMostPacked = off_t{32} << 20;  // header and trailer of the format
  constexpr std::size_t kMost = std::size_t{96} << 20;
  struct stat status {};
  if (::fstat(file, &status) != 0 || status.st_size < kLeast || status.st_size > kMostPacked) return {};
  std::vector<char> packed(static_cast<std::size_t>(status.st_size));
  if (::pread(file, packed.data(), packed.size(), 0) != status.st_size) return {};
  if (!std::string_view(packed.data(), packed.size()).starts_with("\x1f\x8b"sv)) return {};
  std::uint32_t size = 0;  // the last four bytes, the lowest first
  for (std::size_t i = 1; i <= 4; ++i)
    size = size << 8 | static_cast<unsigned char>(packed[packed.size() - i]);
  if (size == 0 || size > kMost) return {};
  struct Free {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
  };
  const std::unique_ptr<libdeflate_decompressor, Free> unpacker(libdeflate_alloc_decompressor());
  std::vector<char> bytes(size);
  std::size_t taken = 0, made = 0;
  if (!unpacker || libdeflate_gzip_decompress_ex(unpacker.get(), packed.data(), packed.size(), bytes.data(),
                                                 bytes.size(), &taken, &made) != LIBDEFLATE_SUCCESS)
    return {};
  if (taken != packed.size() || made != size) return {};
  return bytes;
}
#else
std::vector<char> wholeGzip(int) { return {}; }
#endif

/// Plain and gzip'ed bytes. Who wants more than the first piece gets a small file unpacked as a whole.
class GzipSource final : public ByteSource {
 public:
  explicit GzipSource(Descriptor& file)
      : m_descriptor(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0)), m_file(gzdopen(file.get(), "rb")) {
    if (!m_file) throw std::bad_alloc();
    file.release();
    gzbuffer(m_file.get(), static_cast<unsigned>(kChunk));
  }

  std::size_t read(char* to, std::size_t room) override {
    if (m_given > 0 && !m_tried) {
      m_tried = true;
      m_whole = wholeGzip(m_descriptor.get());
    }
    const std::size_t got = m_whole.empty() ? readPiece(to, room) : readWhole(to, room);
    m_given += got;
    return got;
  }

 private:
  std::size_t readWhole(char* to, std::size_t room) const {
    const std::size_t got = std::min(room, m_whole.size() - std::min(m_given, m_whole.size()));
    if (got > 0) std::memcpy(to, m_whole.data() + m_given, got);
    return got;
  }
  std::size_t readPiece(char* to, std::size_t room) {
    const int got = gzread(m_file.get(), to, static_cast<unsigned>(room));
    // A truncated stream delivers what it holds and leaves Z_BUF_ERROR behind.
    if (got < 0 || static_cast<std::size_t>(got) < room) {
      int status = Z_OK;
      gzerror(m_file.get(), &status);
      if (status != Z_OK && status != Z_STREAM_END) m_damage = status == Z_BUF_ERROR ? kTruncated : kDamaged;
    }
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }

  struct Close {
    void operator()(gzFile_s* file) const { gzclose(file); }
  };
  Descriptor m_descriptor;
  std::unique_ptr<gzFile_s, Close> m_file;
  std::vector<char> m_whole;  ///< empty: piece by piece
  std::size_t m_given = 0;
  bool m_tried = false;
};

/// Bytes packed in another way.
class ArchiveSource final : public ByteSource {
 public:
  ArchiveSource(int file, bool zip) : m_file(file), m_archive(archive_read_new()) {
    if (!m_archive) throw std::bad_alloc();
    archive_read_support_filter_compress(m_archive.get());
    archive_read_support_filter_bzip2(m_archive.get());
    archive_read_support_filter_xz(m_archive.get());
    archive_read_support_filter_zstd(m_archive.get());
    if (zip) archive_read_support_format_zip(m_archive.get());
    else archive_read_support_format_raw(m_archive.get());
    const bool opened = archive_read_open_fd(m_archive.get(), m_file.get(), kChunk) == ARCHIVE_OK;
    archive_entry* entry = nullptr;
    if (!opened || archive_read_next_header(m_archive.get(), &entry) != ARCHIVE_OK) noteDamage();
  }

  std::size_t read(char* to, std::size_t room) override {
    if (!m_damage.empty() || m_ended) return 0;
    const la_ssize_t got = archive_read_data(m_archive.get(), to, room);
    if (got < 0) noteDamage();
    if (got == 0) {
      m_ended = true;
      archive_entry* entry = nullptr;
      if (archive_read_next_header(m_archive.get(), &entry) == ARCHIVE_OK)
        m_damage = "is an archive of several files; unpack it and name those to be read";
    }
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }

 private:
  void noteDamage() {
    const char* words = archive_error_string(m_archive.get());
    const bool cut = words != nullptr && std::string_view(words).find("runcated") != std::string_view::npos;
    m_damage = cut ? kTruncated : kDamaged;
  }

  struct Free {
    void operator()(archive* a) const { archive_read_free(a); }
  };
  Descriptor m_file;
  std::unique_ptr<archive, Free> m_archive;
  bool m_ended = false;
};

[[noreturn]] void cannotOpen(const std::string& path, int error) {
  throw InputError(path, 0,
                   std::string("cannot be opened (") + std::strerror(error != 0 ? error : ENOMEM) +
                       "); check the name and the permissions");
}

/// What can be read once, copied to a file without a name.
int keep(int from, const std::string& path) {
  if (::isatty(from) != 0)
    throw InputError(path, 0, "standard input is a terminal; send a file into it, or name one");
  std::FILE* kept = std::tmpfile();
  if (kept == nullptr)
    throw InputError(path, 0, "input of a pipe cannot be kept in a temporary file; check free space");
  const Descriptor copy(::fcntl(::fileno(kept), F_DUPFD_CLOEXEC, 0));
  std::fclose(kept);
  std::array<char, 65536> chunk;
  for (ssize_t got; (got = ::read(from, chunk.data(), chunk.size())) != 0;) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw InputError(path, 0, "input of a pipe cannot be read; check what sends it");
    for (ssize_t put = 0, n = 0; put < got; put += n) {
      n = ::write(copy.get(), chunk.data() + put, static_cast<std::size_t>(got - put));
      if (n < 0)
        throw InputError(path, 0, "input of a pipe cannot be kept in a temporary file; check free space");
    }
  }
  return ::fcntl(copy.get(), F_DUPFD_CLOEXEC, 0);
}

/// Opens what is kept anew: every reader has a position of its own.
int openKept(int descriptor) {
  return ::open(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_RDONLY | O_CLOEXEC);
}

/// Pipes and standard input are kept by name until the process ends.
int openFile(const std::string& path) {
  struct stat status {};
  const bool standard = path == "-";
  const bool pipe = !standard && ::stat(path.c_str(), &status) == 0 &&
                    (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
  if (!standard && !pipe) return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  static std::mutex mutex;
  static std::map<std::string, Descriptor> kept;
  const std::lock_guard lock(mutex);
  if (const auto known = kept.find(path); known != kept.end()) return openKept(known->second.get());
  const Descriptor source(standard ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (source.get() < 0) return -1;
  return openKept(kept.try_emplace(path, keep(source.get(), path)).first->second.get());
}

}  // namespace

std::unique_ptr<ByteSource> openBytes(const std::string& path) {
  errno = 0;
  Descriptor file(openFile(path));
  if (file.get() < 0) cannotOpen(path, errno);
  std::array<char, 6> first{};
  // From a pipe nothing can be looked at ahead: it is plain or gzip'ed.
  const ssize_t got = ::pread(file.get(), first.data(), first.size(), 0);
  const std::string_view head(first.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
  const bool zip = head.starts_with("PK\x03\x04"sv);
  if (zip || head.starts_with("\x1f\x9d"sv) || head.starts_with("BZh"sv) ||
      head.starts_with("\xfd"
                       "7zXZ"sv) ||
      head.starts_with("\x28\xb5\x2f\xfd"sv))
    return std::make_unique<ArchiveSource>(file.release(), zip);
  return std::make_unique<GzipSource>(file);
}

}  // namespace gnx
