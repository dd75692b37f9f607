#pragma once
/// \file live_outputs.h
/// Where the solutions of a live run go: files, streams of JSON lines and of NMEA sentences.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "flow/sink.h"
#include "live/live_options.h"
#include "live/solution_json.h"
#include "run/named_solutions.h"

namespace gnx {

class LiveOutputs {
 public:
  /// \param fresh  files of an earlier run are replaced, not continued
  /// \throws UsageError, InputError
  LiveOutputs(const LiveRunOptions& options, const std::filesystem::path& directory, bool fresh,
              Sink::Say say);
  void write(const Solution& solution, const LiveFacts& facts);

  /// The last position as a sentence GGA without its end; "" before the first.
  const std::string& lastPosition() const { return m_gga; }

 private:
  void writeNmea(const Solution& solution, const SolutionEpoch& epoch);

  std::vector<NamedSolutions> m_files;
  std::vector<std::unique_ptr<Sink>> m_json, m_nmea;
  std::optional<SolutionEpoch> m_last;        ///< epoch
  std::optional<SolutionEpoch> m_lastSolved;  ///< with a position
  std::string m_gga;
};

}  // namespace gnx
