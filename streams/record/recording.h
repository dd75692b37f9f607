#pragma once
/// \file recording.h
/// What came from the sources of a run, byte by byte and in the order of its coming.
///
/// A recording is a directory: the bytes of each source as they came, in a file of its own that any decoder
/// reads, and "arrivals.csv" with a row for each piece. Rows without bytes tell that the run has looked at
/// its clock, so that a run that is played does all at the same moments.

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "flow/arrival_queue.h"

namespace gnx {

/// A source as a recording tells of it.
struct RecordedSource {
  std::string name;  ///< of the source and its file: "obs", "ssr2"
  int roles = 0;     ///< of LiveRole
  int rank = 0;      ///< 0 is asked first
};

class RecordingWriter {
 public:
  /// \throws InputError for a directory that cannot be written or holds a recording already
  explicit RecordingWriter(const std::filesystem::path& directory);
  /// A source of that number is there from now on.
  void begin(int number, const RecordedSource& source, const GpsTime& now);
  /// It is no more.
  void end(int number, const GpsTime& now);
  void write(const Arrival& arrival);
  /// All of it reaches the disk's cache.
  void flush();

 private:
  void row(const GpsTime& time, const std::string& rest);

  std::filesystem::path m_directory;
  std::ofstream m_rows;
  std::map<int, std::ofstream> m_files;
  std::map<int, std::string> m_names;
};

/// A row of a recording.
struct RecordedEvent {
  enum class Kind { bytes, begin, end };
  Kind kind = Kind::bytes;
  Arrival arrival;
  RecordedSource source;  ///< of begin
};

class RecordingReader {
 public:
  /// \throws InputError
  explicit RecordingReader(const std::filesystem::path& directory);
  ~RecordingReader();
  RecordingReader(const RecordingReader&) = delete;
  RecordingReader& operator=(const RecordingReader&) = delete;
  /// False at the end, which may be that of a run that was killed. \throws InputError for damage
  bool next(RecordedEvent& event);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace gnx
