#pragma once
/// \file observation_stream.h
/// Epochs of several observation files, given in any order, as one stream within the chosen time.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/rinex_obs.h"

namespace gnx {

class ObservationStream {
 public:
  ObservationStream(std::vector<std::string> files, std::optional<GpsTime> from, std::optional<GpsTime> to);
  /// Of the file being read.
  const ObsHeader& header() const { return m_reader->header(); }
  bool next(ObsEpoch& epoch);

 private:
  void open();

  std::vector<std::string> m_files;
  std::optional<GpsTime> m_from, m_to, m_last;
  std::size_t m_file = 0;
  std::unique_ptr<RinexObsReader> m_reader;
};

}  // namespace gnx
