// Reads observation files one after the other.

#include "stream/observation_stream.h"

#include <utility>

#include "gnx/read.h"

namespace gnx {

namespace {

constexpr double kTolerance_s = 0.005;

}  // namespace

ObservationStream::ObservationStream(std::vector<std::string> files, std::optional<GpsTime> from,
                                     std::optional<GpsTime> to)
    : m_files(inOrderOfTime(std::move(files))), m_from(from), m_to(to) {
  open();
}

void ObservationStream::open() {
  m_reader = m_file < m_files.size() ? std::make_unique<RinexObsReader>(m_files[m_file]) : nullptr;
}

bool ObservationStream::next(ObsEpoch& epoch) {
  while (m_reader) {
    if (!m_reader->next(epoch)) {
      ++m_file;
      open();
      continue;
    }
    if (m_from && epoch.time - *m_from < -kTolerance_s) continue;
    if (m_to && epoch.time - *m_to > kTolerance_s) continue;
    if (m_last && epoch.time - *m_last < kTolerance_s) continue;  // files may overlap
    m_last = epoch.time;
    return true;
  }
  return false;
}

}  // namespace gnx
