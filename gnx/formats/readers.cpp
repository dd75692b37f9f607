// The readers of one kind as the public header shows them, and the kind of a file.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "formats/rinex_obs.h"
#include "formats/ssr_text.h"
#include "gnx/read.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

struct ObservationReader::Impl {
  explicit Impl(const std::string& path) : reader(path) {}
  RinexObsReader reader;
};

ObservationReader::ObservationReader(const std::string& path) : m_impl(std::make_unique<Impl>(path)) {}
ObservationReader::~ObservationReader() = default;
ObservationReader::ObservationReader(ObservationReader&&) noexcept = default;
ObservationReader& ObservationReader::operator=(ObservationReader&&) noexcept = default;
const ObsHeader& ObservationReader::header() const { return m_impl->reader.header(); }
bool ObservationReader::next(ObsEpoch& epoch) { return m_impl->reader.next(epoch); }

struct CorrectionReader::Impl {
  explicit Impl(const std::string& path) : reader(path) {}
  SsrTextReader reader;
};

CorrectionReader::CorrectionReader(const std::string& path) : m_impl(std::make_unique<Impl>(path)) {}
CorrectionReader::~CorrectionReader() = default;
CorrectionReader::CorrectionReader(CorrectionReader&&) noexcept = default;
CorrectionReader& CorrectionReader::operator=(CorrectionReader&&) noexcept = default;
bool CorrectionReader::next(SsrBlock& block) { return m_impl->reader.next(block); }

namespace {

FileKind rinexKind(std::string_view line) {
  if (column(line, 60, 20) == "ANTEX VERSION / SYST") return FileKind::antennas;
  if (column(line, 20, 20) == "COMPACT RINEX FORMAT") return FileKind::observations;
  if (column(line, 60, 5) == "IONEX") return FileKind::ionosphere;
  if (column(line, 60, 20) != "RINEX VERSION / TYPE") return FileKind::unknown;
  switch (line[20]) {
    case 'O':
      return FileKind::observations;
    case 'N':
    case 'G':  // GLONASS, Galileo, QZSS and geostationary messages of version 2
    case 'L':
    case 'J':
    case 'H':
      return FileKind::navigation;
    case 'C':
      return FileKind::clocks;
    default:
      return FileKind::unknown;
  }
}

/// The line of the version or of the titles of .erp files; a row of finals2000A.
bool isEarthRotation(std::string_view line) {
  if (line.starts_with("VERSION 2") || line.starts_with("version 2")) return true;
  if (trim(line).starts_with("MJD ") && line.find("UT1") != std::string_view::npos) return true;
  const auto mjd = line.size() > 67 ? parseReal(line.substr(7, 8)) : std::nullopt;
  return mjd && *mjd > 40000.0 && *mjd < 100000.0 && (line[16] == 'I' || line[16] == 'P');
}

FileKind kindOfLine(std::string_view line) {
  if (const FileKind kind = rinexKind(line); kind != FileKind::unknown) return kind;
  if (line.size() > 40 && line[0] == '#' && line[1] >= 'a' && line[1] <= 'd') return FileKind::orbits;
  if (line.starts_with("%=BIA")) return FileKind::biases;
  if (line.starts_with("%=ORBEX")) return FileKind::attitudes;
  for (const char* block : {"> ORBIT ", "> CLOCK ", "> CODE_BIAS ", "> PHASE_BIAS ", "> VTEC "})
    if (line.starts_with(block)) return FileKind::corrections;
  if (isEarthRotation(line)) return FileKind::earthRotation;
  return FileKind::unknown;
}

}  // namespace

const char* nameOf(FileKind kind) {
  switch (kind) {
    case FileKind::observations:
      return "observations";
    case FileKind::navigation:
      return "navigation messages";
    case FileKind::orbits:
      return "orbits";
    case FileKind::clocks:
      return "clocks";
    case FileKind::biases:
      return "biases";
    case FileKind::corrections:
      return "corrections";
    case FileKind::antennas:
      return "antennas";
    case FileKind::attitudes:
      return "attitudes";
    case FileKind::ionosphere:
      return "maps of the ionosphere";
    case FileKind::earthRotation:
      return "Earth rotation";
    case FileKind::unknown:
      break;
  }
  return "nothing known";
}

FileKind kindOf(const std::filesystem::path& file) {
  constexpr int kLines = 10;  // comments may stand in front
  TextReader reader(file.string());
  std::string_view line;
  for (int i = 0; i < kLines && reader.next(line); ++i)
    if (const FileKind kind = kindOfLine(line); kind != FileKind::unknown) return kind;
  return FileKind::unknown;
}

InputFiles sortByKind(const std::vector<std::string>& names) {
  InputFiles files;
  for (const std::string& name : names) {
    switch (const FileKind kind = kindOf(name)) {
      case FileKind::observations:
        files.obs.push_back(name);
        break;
      case FileKind::navigation:
        files.nav.push_back(name);
        break;
      case FileKind::orbits:
        files.sp3.push_back(name);
        break;
      case FileKind::clocks:
        files.clk.push_back(name);
        break;
      case FileKind::biases:
        files.bia.push_back(name);
        break;
      case FileKind::corrections:
        files.ssr.push_back(name);
        break;
      case FileKind::attitudes:
        files.orbex.push_back(name);
        break;
      case FileKind::ionosphere:
        files.ionex.push_back(name);
        break;
      default:
        throw InputError(
            name, 0,
            std::string("holds ") + nameOf(kind) +
                ", which is no input of a run; give observations, navigation messages, orbits, clocks, "
                "biases, attitudes, maps of the ionosphere or corrections");
    }
  }
  files.obs = inOrderOfTime(std::move(files.obs));
  return files;
}

std::vector<std::string> inOrderOfTime(std::vector<std::string> observationFiles) {
  if (observationFiles.size() < 2) return observationFiles;
  std::vector<std::pair<GpsTime, std::string>> dated;
  for (std::string& file : observationFiles) {
    ObsEpoch first;
    const bool any = ObservationReader(file).next(first);
    constexpr GpsTime kLast = {std::numeric_limits<std::int64_t>::max(),
                               0.0};  // no epoch, nothing to put in order
    dated.emplace_back(any ? first.time : kLast, std::move(file));
  }
  std::ranges::stable_sort(dated, {}, &std::pair<GpsTime, std::string>::first);
  std::ranges::transform(dated, observationFiles.begin(), &std::pair<GpsTime, std::string>::second);
  return observationFiles;
}

}  // namespace gnx
