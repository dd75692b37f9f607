// Opens, continues and closes solution files as their names change with the epoch.

#include "run/named_solutions.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "GNX_SDK_ext.h"
#include "gnx/deployment.h"
#include "gnx/error.h"
#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kPrintedRounding_s = 0.0005;  ///< times are printed to the millisecond
constexpr std::size_t kFileNameStation = 4;

/// The name at a time; `wrong` says what keeps it from being one.
std::string expand(const std::string& pattern, const std::string& station, const GpsTime& time,
                   std::string& wrong) {
  const GpsTime printed = time + kPrintedRounding_s;
  std::string name;
  wrong = GNX_EXT::expandPattern(pattern, station, {printed.seconds, printed.fraction}, name);
  return name;
}

SolutionFormat formatOf(const fs::path& name) {
  if (name.extension() == ".csv") return SolutionFormat::csv;
  return name.extension() == ".nmea" ? SolutionFormat::nmea : SolutionFormat::posXyz;
}

/// Letters and digits of a text, at least an X.
std::string plain(std::string_view text) {
  std::string word;
  std::copy_if(text.begin(), text.end(), std::back_inserter(word),
               [](unsigned char c) { return std::isalnum(c) != 0; });
  return word.empty() ? "X" : word;
}

}  // namespace

std::string solutionPattern(const std::string& text, const fs::path& deployment) {
  std::string pattern = text, wrong;
  if (text.starts_with('@')) {
    if (deployment.empty())
      throw UsageError("--solution-name " + text + " looks into a deployment; name one with --deployment");
    const std::string table = Deployment::open(deployment).file("predefine").string();
    wrong = GNX_EXT::readPattern(table, text.substr(1), pattern);
    if (wrong.starts_with("ERROR"))
      throw InputError(table, 0,
                       "holds no names of files; put a line 'mirva_file_name' there and below it pairs such "
                       "as 'POS [SITE]_[YYYY][DDD].pos'");
  }
  std::string name;
  if (wrong.empty()) name = expand(pattern, "SITE", toGpsTime({2026, 1, 1, 0, 0, 0.0}), wrong);
  if (!wrong.empty()) throw UsageError("--solution-name: " + wrong);
  const fs::path path(name);
  if (path.is_absolute() || !path.has_filename() || std::ranges::find(path, fs::path("..")) != path.end())
    throw UsageError("--solution-name: '" + pattern + "' must name files inside the run directory");
  return pattern;
}

std::string stationWord(const std::string& observationFile) {
  std::vector<std::string_view> words;
  const ObservationReader reader(observationFile);
  split(reader.header().marker, words);
  if (!words.empty()) return plain(words[0]);
  return plain(fs::path(observationFile).filename().string().substr(0, kFileNameStation));
}

NamedSolutions::NamedSolutions(fs::path directory, std::string pattern, std::string station,
                               std::vector<std::string> comments, Earlier earlier)
    : m_directory(std::move(directory)),
      m_pattern(std::move(pattern)),
      m_station(std::move(station)),
      m_comments(std::move(comments)),
      m_earlier(earlier) {}

void NamedSolutions::open(const std::string& name) {
  m_name = name;
  m_path = m_directory / name;
  m_format = formatOf(m_path);
  makeDirectory(m_path.parent_path(), "--solution-name");
  const bool there = m_earlier == Earlier::continued && fs::exists(m_path);
  const bool fresh = m_files.insert(m_path).second && !there;
  m_out.close();
  m_out.clear();
  m_out.open(m_path, std::ios::binary | (fresh ? std::ios::trunc : std::ios::app));
  if (fresh) m_out << solutionHeader(m_format, m_comments);
}

void NamedSolutions::write(const SolutionEpoch& epoch) {
  std::string wrong;
  const std::string name = expand(m_pattern, m_station, epoch.time, wrong);
  if (!wrong.empty()) throw InputError(m_pattern, 0, wrong);
  const std::string line = solutionText(formatOf(name), epoch);
  if (line.empty()) return;  // no file for hours without a solution
  if (name != m_name) open(name);
  m_out << line << std::flush;
  if (!m_out) throw InputError(m_path.string(), 0, "cannot be written; check the folder and the free space");
}

}  // namespace gnx
