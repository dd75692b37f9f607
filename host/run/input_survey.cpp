// Reads what headers and first rows tell of files.

#include "run/input_survey.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "gnx/error.h"
#include "text/byte_source.h"
#include "text/fields.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

/// What a file is, and the option that takes it.
struct Known {
  const char *option, *title;
};

std::optional<Known> knownAs(FileKind kind) {
  switch (kind) {
    case FileKind::observations:
      return Known{"--obs", "a RINEX file of observations"};
    case FileKind::navigation:
      return Known{"--nav", "a RINEX file of navigation messages"};
    case FileKind::orbits:
      return Known{"--sp3", "an SP3 file of orbits"};
    case FileKind::clocks:
      return Known{"--clk", "a RINEX file of clocks"};
    case FileKind::biases:
      return Known{"--bia", "a Bias-SINEX file"};
    case FileKind::corrections:
      return Known{"--ssr", "a file of corrections as text"};
    case FileKind::antennas:
      return Known{"--antex", "an antenna file (ANTEX)"};
    case FileKind::attitudes:
      return Known{"--orbex", "an ORBEX file of attitudes"};
    case FileKind::ionosphere:
      return Known{"--ionex", "an IONEX file of maps of the ionosphere"};
    case FileKind::earthRotation:
      return Known{"--erp", "a file of the Earth's rotation"};
    case FileKind::unknown:
      break;
  }
  return std::nullopt;
}

/// Kinds that have no mark but the form of their first line.
std::optional<Known> knownByForm(const std::string& file) {
  TextReader in(file);
  std::string_view line;
  if (!in.next(line)) return std::nullopt;
  if (line.starts_with("$$")) return Known{"--blq", "a file of ocean loading (BLQ)"};
  if (line.starts_with('%') && line.find("lat") != std::string_view::npos)
    return Known{"--grid", "a troposphere grid"};
  if (line.starts_with("%=SNX")) return Known{"--reference-sinex", "a SINEX file of stations"};
  return std::nullopt;
}

void refuseBytes(const std::string& file, const std::string& option) {
  constexpr char kPreamble = '\xd3';
  char first = 0;
  const auto bytes = openBytes(file);
  const bool empty = bytes->read(&first, 1) == 0 && bytes->damage().empty();
  if (empty && file == "-") throw InputError("standard input", 0, "is empty; pipe a file into the program");
  if (empty) throw InputError(file, 0, "is empty; fetch it again, or name another file");
  if (first == kPreamble)
    throw InputError(file, 0,
                     "is a stream of RTCM 3, which " + option + " does not take; 'gnx live --obs file://" +
                         file + "?speed=0' runs on it");
}

/// Date and time from words of a row on.
std::optional<GpsTime> timeAt(const std::vector<std::string_view>& words, std::size_t i) {
  if (words.size() < i + 6) return std::nullopt;
  return parseDate(parseInt(words[i]), parseInt(words[i + 1]), parseInt(words[i + 2]), parseInt(words[i + 3]),
                   parseInt(words[i + 4]), parseReal(words[i + 5]));
}

void widen(InputFile& file, const std::optional<GpsTime>& t) {
  if (!t) return;
  if (!file.first || *t < *file.first) file.first = t;
  if (!file.last || *file.last < *t) file.last = t;
}

/// The last epoch: by the header, else by the epoch lines, which forms of version 3 and 4 mark; nothing for
/// others and for files so long that looking would take its time.
std::optional<GpsTime> lastObservation(const std::string& path) {
  constexpr long kLongest = 1'000'000;
  TextReader in(path);
  std::vector<std::string_view> words;
  std::string last;
  bool inHeader = true;
  for (std::string_view line; in.next(line) && in.line() < kLongest;) {
    if (inHeader) {
      const std::string_view label = trim(column(line, 60, 20));
      if (label == "CRINEX VERS   / TYPE") last = "compact";
      inHeader = label != "END OF HEADER";
      if (label != "TIME OF LAST OBS") continue;
      split(column(line, 0, 43), words);
      return timeAt(words, 0);
    }
    if (last == "compact") return std::nullopt;
    if (line.starts_with('>')) last = line.substr(0, 29);
  }
  if (in.line() >= kLongest || last.size() < 2) return std::nullopt;
  split(std::string_view(last).substr(1), words);
  return timeAt(words, 0);
}

void surveyObservations(InputFile& file) {
  constexpr int kEpochs = 4;
  ObservationReader reader(file.path);
  ObsEpoch epoch;
  std::optional<GpsTime> before;
  for (int i = 0; i < kEpochs && reader.next(epoch); before = epoch.time, ++i) {
    if (!file.first) file.first = epoch.time;
    if (!before) continue;
    const double step = epoch.time - *before;
    if (step > 0.0 && (file.interval_s == 0.0 || step < file.interval_s)) file.interval_s = step;
  }
  file.header = reader.header();
  file.last = lastObservation(file.path);
  for (const auto& [system, types] : file.header.types)
    if (!types.empty()) file.systems.insert(system);
}

/// The header says how many epochs there are.
void surveyOrbits(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  std::optional<int> epochs;
  int number = 0;
  for (std::string_view line; in.next(line) && (line.starts_with('#') || line.starts_with('+')); ++number) {
    if (number == 0) {
      split(column(line, 3, 28), words);
      file.first = timeAt(words, 0);
      epochs = parseInt(column(line, 32, 7));
    } else if (number == 1) {
      file.interval_s = parseReal(column(line, 24, 14)).value_or(0.0);
    } else {
      for (std::size_t i = 9; i + 2 < line.size(); i += 3)
        if (const auto sat = parseSat(line.substr(i, 3)); sat && line.starts_with("+ "))
          file.systems.insert((*sat)[0]);
    }
  }
  if (file.first && epochs && *epochs > 0) file.last = *file.first + file.interval_s * (*epochs - 1);
}

void surveyClocks(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  std::string last;
  std::optional<GpsTime> next;
  for (std::string_view line; in.next(line);) {
    if (!line.starts_with("AS ") || line.size() < 30) continue;
    file.systems.insert(line[3]);
    last = line;
    if (next) continue;
    split(line, words);
    const auto t = timeAt(words, 2);
    widen(file, t);
    if (t && file.first && *file.first < *t) next = t;
  }
  split(last, words);
  widen(file, timeAt(words, 2));
  if (next) file.interval_s = *next - *file.first;
}

/// Messages of versions 3 and 4; those of version 2 tell their kind alone.
void surveyMessages(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  for (std::string_view line; in.next(line);) {
    const auto sat = line.size() > 22 && line[0] != ' ' ? parseSat(line.substr(0, 3)) : std::nullopt;
    if (!sat) continue;
    split(line.substr(3), words);
    const auto t = timeAt(words, 0);
    if (t) file.systems.insert((*sat)[0]);
    widen(file, t);
  }
}

/// The first block; where the last one stands is told by the whole file alone.
void surveyCorrections(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  std::string_view line;
  if (!in.next(line)) return;
  split(line, words);
  file.first = timeAt(words, 2);
}

/// The description tells the span, the table which satellites there are.
void surveyAttitudes(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  std::string block;
  for (std::string_view line; in.next(line) && !line.starts_with("##");) {
    if (line.starts_with('+')) block = trim(line.substr(1));
    const std::string_view keyword = trim(column(line, 1, 19));
    split(column(line, 21, 40), words);
    if (keyword == "START_TIME") file.first = timeAt(words, 0);
    if (keyword == "END_TIME") file.last = timeAt(words, 0);
    if (keyword == "EPOCH_INTERVAL" && !words.empty()) file.interval_s = parseReal(words[0]).value_or(0.0);
    if (block == "SATELLITE/ID_AND_DESCRIPTION")
      if (const auto sat = parseSat(column(line, 1, 3))) file.systems.insert((*sat)[0]);
  }
}

/// The header tells the span.
void surveyMaps(InputFile& file) {
  TextReader in(file.path);
  std::vector<std::string_view> words;
  for (std::string_view line; in.next(line);) {
    const std::string_view label = trim(column(line, 60, 20));
    split(column(line, 0, 60), words);
    if (label == "EPOCH OF FIRST MAP") file.first = timeAt(words, 0);
    if (label == "EPOCH OF LAST MAP") file.last = timeAt(words, 0);
    if (label == "INTERVAL" && !words.empty()) file.interval_s = parseReal(words[0]).value_or(0.0);
    if (label == "END OF HEADER") return;
  }
}

using Survey = void (*)(InputFile&);

void add(std::vector<InputFile>& files, const std::vector<std::string>& paths, const char* option,
         Survey survey) {
  for (const std::string& path : paths) {
    InputFile& file = files.emplace_back();
    file.path = path;
    file.option = option;
    requireKind(path, option);
    if (survey != nullptr) survey(file);
  }
}

}  // namespace

void requireKind(const std::string& file, const std::string& option) {
  refuseBytes(file, option);
  auto known = knownAs(kindOf(file));
  if (!known) known = knownByForm(file);
  if (!known || known->option == option) return;
  throw InputError(file, 0,
                   std::string("is ") + known->title + ", which " + option + " does not take; give it with " +
                       known->option);
}

std::vector<InputFile> surveyInputs(const RunPlan& plan) {
  std::vector<InputFile> files;
  add(files, plan.obs, "--obs", surveyObservations);
  add(files, plan.nav, "--nav", surveyMessages);
  add(files, plan.sp3, "--sp3", surveyOrbits);
  add(files, plan.clk, "--clk", surveyClocks);
  add(files, plan.bia, "--bia", nullptr);
  add(files, plan.ssr, "--ssr", surveyCorrections);
  add(files, plan.orbex, "--orbex", surveyAttitudes);
  add(files, plan.ionex, "--ionex", surveyMaps);
  return files;
}

std::string kindOfText(const std::string& file) {
  try {
    const auto known = knownAs(kindOf(file));
    return known ? known->title : "";
  } catch (const InputError&) {
    return "";  // holds bytes, or is not there: told where it is read
  }
}

void requireKinds(const DeploymentOptions& deploy) {
  if (!deploy.antex.empty()) requireKind(deploy.antex.string(), "--antex");
  if (!deploy.grid.empty()) requireKind(deploy.grid.string(), "--grid");
  if (!deploy.blq.empty()) requireKind(deploy.blq.string(), "--blq");
  if (!deploy.erp.empty()) requireKind(deploy.erp.string(), "--erp");
}

std::string inputTable(const std::vector<InputFile>& files) {
  std::string text;
  for (const InputFile& file : files) {
    const std::string name = std::filesystem::path(file.path).filename().string();
    const std::string systems(file.systems.begin(), file.systems.end());
    text += printed("%-6s %-44s %-19s  %-19s", file.option.c_str(), name.c_str(),
                    file.first ? formatTime(*file.first).c_str() : "",
                    file.last ? formatTime(*file.last).c_str() : "");
    text += file.interval_s > 0.0 ? printed(" %6g s", file.interval_s) : std::string(9, ' ');
    text += "  " + systems;
    text.erase(text.find_last_not_of(' ') + 1);
    text += '\n';
  }
  return text;
}

}  // namespace gnx
