// Writes recordings and reads them back.

#include "record/recording.h"

#include <charconv>
#include <utility>

#include "flow/run_clock.h"
#include "gnx/error.h"
#include "text/byte_source.h"
#include "text/csv_reader.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRows = "arrivals.csv";
constexpr const char* kTitle = "gpst_ms,source,bytes,event,name,roles,rank";
constexpr std::size_t kMostBytes = std::size_t{1} << 24;  ///< of a piece

}  // namespace

RecordingWriter::RecordingWriter(const fs::path& directory) : m_directory(directory) {
  fs::create_directories(directory);
  if (fs::exists(directory / kRows))
    throw InputError(directory.string(), 0, "holds a recording already; give another directory to --record");
  m_rows.open(directory / kRows, std::ios::binary);
  m_rows << kTitle << '\n';
  flush();
}

void RecordingWriter::row(const GpsTime& time, const std::string& rest) {
  m_rows << toMilliseconds(time) << ',' << rest << '\n';
}

void RecordingWriter::begin(int number, const RecordedSource& source, const GpsTime& now) {
  std::string name = source.name;  // a source that comes instead of another one has a file of its own
  for (const auto& [other, taken] : m_names)
    if (taken == source.name) name = source.name + "-" + std::to_string(number);
  m_names[number] = name;
  row(now, std::to_string(number) + ",0,begin," + name + "," + std::to_string(source.roles) + "," +
               std::to_string(source.rank));
}

void RecordingWriter::end(int number, const GpsTime& now) { row(now, std::to_string(number) + ",0,end,,,"); }

void RecordingWriter::write(const Arrival& arrival) {
  if (!arrival.bytes.empty()) {
    auto [file, fresh] = m_files.try_emplace(arrival.source);
    if (fresh)
      file->second.open(m_directory / (m_names[arrival.source] + ".bytes"), std::ios::binary | std::ios::app);
    file->second.write(reinterpret_cast<const char*>(arrival.bytes.data()),
                       static_cast<std::streamsize>(arrival.bytes.size()));
  }
  row(arrival.time, std::to_string(arrival.source) + "," + std::to_string(arrival.bytes.size()) + ",,,,");
}

void RecordingWriter::flush() {
  for (auto& [number, file] : m_files) file.flush();
  m_rows.flush();
  bool sound = m_rows.good();
  for (auto& [number, file] : m_files) sound = sound && file.good();
  if (!sound)
    throw InputError(m_directory.string(), 0, "cannot be written; check the folder and the free space");
}

struct RecordingReader::Impl {
  explicit Impl(const fs::path& given) : directory(given), rows((given / kRows).string()) {
    std::string_view title;
    if (!rows.next(title) || title != kTitle) rows.fail("title", "is not that of a recording");
  }

  void readRow(std::string_view line, RecordedEvent& event) {
    std::vector<std::string_view> cell;
    splitCells(line, cell);
    cell.resize(std::max<std::size_t>(cell.size(), 7));
    std::int64_t ms = 0;
    const auto end = std::from_chars(cell[0].data(), cell[0].data() + cell[0].size(), ms);
    const auto source = parseInt(cell[1]), bytes = parseInt(cell[2]);
    if (end.ec != std::errc() || !source || !bytes || *bytes < 0 ||
        static_cast<std::size_t>(*bytes) > kMostBytes)
      rows.fail("row", "is not time, source and bytes");
    event.arrival = {*source, ofMilliseconds(ms), {}};
    event.kind = cell[3] == "begin" ? RecordedEvent::Kind::begin
                 : cell[3] == "end" ? RecordedEvent::Kind::end
                                    : RecordedEvent::Kind::bytes;
    if (event.kind == RecordedEvent::Kind::begin) {
      const auto roles = parseInt(cell[5]), rank = parseInt(cell[6]);
      if (!roles || !rank || cell[4].empty() || cell[4].find('/') != std::string_view::npos)
        rows.fail("source", "is not name, roles and rank");
      event.source = {std::string(cell[4]), *roles, *rank};
      names[*source] = event.source.name;
    }
    event.arrival.bytes.resize(static_cast<std::size_t>(*bytes));
  }

  /// False when the file is shorter: the run was killed.
  bool readBytes(Arrival& arrival) {
    const auto [file, fresh] = files.try_emplace(arrival.source);
    if (fresh) file->second = openBytes((directory / (names[arrival.source] + ".bytes")).string());
    for (std::size_t at = 0; at < arrival.bytes.size();) {
      const std::size_t n =
          file->second->read(reinterpret_cast<char*>(arrival.bytes.data()) + at, arrival.bytes.size() - at);
      if (n == 0) return false;
      at += n;
    }
    return true;
  }

  fs::path directory;
  TextReader rows;
  std::map<int, std::string> names;
  std::map<int, std::unique_ptr<ByteSource>> files;
};

RecordingReader::RecordingReader(const fs::path& directory) : m_impl(std::make_unique<Impl>(directory)) {}
RecordingReader::~RecordingReader() = default;

bool RecordingReader::next(RecordedEvent& event) {
  std::string_view line;
  if (!m_impl->rows.next(line) || !m_impl->rows.terminated()) return false;
  m_impl->readRow(line, event);
  return event.arrival.bytes.empty() || m_impl->readBytes(event.arrival);
}

}  // namespace gnx
