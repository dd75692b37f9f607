// Writes the solutions of a live run.

#include "live/live_outputs.h"

#include <utility>

#include "run/nmea.h"

namespace gnx {

LiveOutputs::LiveOutputs(const LiveRunOptions& options, const std::filesystem::path& directory, bool fresh,
                         Sink::Say say) {
  std::vector<std::string> names = options.solutionNames;
  if (names.empty()) names = {"solution.pos"};
  const std::vector<std::string> comments = {std::string("program   : gnx ") + GNX_VERSION,
                                             std::string("mode      : ") + nameOf(options.deploy.run.mode)};
  const auto earlier = fresh ? NamedSolutions::Earlier::replaced : NamedSolutions::Earlier::continued;
  for (const std::string& name : names)
    m_files.emplace_back(directory, solutionPattern(name, options.deployment), options.deploy.run.stationName,
                         comments, earlier);
  for (const std::string& url : options.json)
    m_json.push_back(std::make_unique<Sink>("json", parseStreamUrl(url), say));
  for (const std::string& url : options.nmea)
    m_nmea.push_back(std::make_unique<Sink>("nmea", parseStreamUrl(url), say));
}

void LiveOutputs::write(const Solution& solution, const LiveFacts& facts) {
  const SolutionEpoch epoch = epochOf(solution, m_last ? &*m_last : nullptr);
  for (NamedSolutions& file : m_files) file.write(epoch);
  if (!m_json.empty()) {
    const std::string line = solutionJson(solution, facts);
    for (const auto& sink : m_json) sink->write(line);
  }
  writeNmea(solution, epoch);
  if (isSolved(epoch)) m_lastSolved = epoch;
  m_last = epoch;
}

void LiveOutputs::writeNmea(const Solution& solution, const SolutionEpoch& epoch) {
  if (isSolved(epoch)) {
    m_gga = ggaSentence(epoch);
    m_gga.resize(m_gga.find('\r'));
  }
  if (m_nmea.empty()) return;
  std::string text = zdaSentence(epoch.time);
  if (isSolved(epoch))
    text = ggaSentence(epoch) + gstSentence(epoch) + gsaSentences(solution) + text +
           rmcSentence(epoch, m_lastSolved ? &*m_lastSolved : nullptr);
  for (const auto& sink : m_nmea) sink->write(text);
}

}  // namespace gnx
