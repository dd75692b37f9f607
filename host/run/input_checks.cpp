// Finds inputs that do not belong together, and says what would.

#include "run/input_checks.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/error.h"
#include "text/fields.h"
#include "text/json_file.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

using Files = std::vector<InputFile>;
using Sentences = std::vector<std::string>;

/// The time that all files of an option cover together.
struct Span {
  std::optional<GpsTime> first, last;
  std::string text() const {
    return (first ? formatTime(*first) : "?") + " to " + (last ? formatTime(*last) : "?");
  }
};

Span spanOf(const Files& files, const std::string& option) {
  Span span;
  for (const InputFile& file : files) {
    if (file.option != option) continue;
    if (file.first && (!span.first || *file.first < *span.first)) span.first = file.first;
    if (file.last && (!span.last || *span.last < *file.last)) span.last = file.last;
  }
  return span;
}

std::string nameOf(const Files& files, const std::string& option) {
  const auto found = std::ranges::find(files, option, &InputFile::option);
  return found == files.end() ? "" : found->path;
}

double kilometres(const Vector3& a, const Vector3& b) { return length(minus(a, b)) / 1e3; }

bool isKnown(const Vector3& place) { return length(place) > 1e6; }

// ---- time ----

/// Files of another day give no position at all.
void checkSpans(const Files& files, const RunPlan& plan) {
  const std::optional<GpsTime> begin = plan.from ? plan.from : spanOf(files, "--obs").first;
  if (!begin) return;
  struct Need {
    const char *option, *title;
    double margin_s;  ///< how far beyond its span a file serves
  };
  constexpr Need kNeeds[] = {{"--clk", "clocks", 900.0},
                             {"--sp3", "orbits", 7200.0},
                             {"--nav", "messages", 86400.0},
                             {"--orbex", "attitudes", 900.0},
                             {"--ionex", "maps", 7200.0}};
  for (const auto& [option, title, margin] : kNeeds) {
    const Span span = spanOf(files, option);
    if (!span.first || !span.last) continue;
    const bool ended = *span.last + margin < *begin;
    const bool later = plan.to && *plan.to < *span.first + -margin;
    if (ended || later)
      throw InputError(nameOf(files, option), 0,
                       std::string("holds ") + title + " of " + span.text() + ", but the run begins at " +
                           formatTime(*begin) + (later ? " and ends at " + formatTime(*plan.to) : "") +
                           "; give files of that day, or choose the time with --from and --to");
  }
}

void checkInterval(const Files& files, const RunPlan& plan, Sentences& sentences) {
  const auto obs = std::ranges::find_if(files, [](const InputFile& f) { return f.interval_s > 0.0; });
  if (obs == files.end() || obs->option != "--obs" || plan.interval == 1.0) return;
  constexpr double kTick_s = 1e-3;
  const double step = std::round(obs->interval_s * 1e3) / 1e3;
  const auto divides = [](double part, double whole) {
    return std::fabs(std::remainder(whole, part)) < kTick_s;
  };
  if (step <= 0.0 || divides(step, plan.interval) || divides(plan.interval, step)) return;
  double common = plan.interval;
  while (common < 86400.0 && !divides(step, common)) common += plan.interval;
  sentences.push_back(
      printed("--interval %g is no multiple of the %g s between observations: an epoch is "
              "processed every %g s alone; choose a multiple of %g",
              plan.interval, step, common, step));
}

/// Atomic clocks of satellites wander by centimetres in five minutes and by a decimetre in fifteen.
void checkClocks(const Files& files, const RunPlan& plan, Sentences& sentences) {
  constexpr double kSmooth_s = 299.0;
  const std::string option = plan.clk.empty() ? "--sp3" : "--clk";
  const auto clocks = std::ranges::find(files, option, &InputFile::option);
  if (clocks == files.end() || clocks->interval_s < kSmooth_s || clocks->interval_s <= plan.interval) return;
  sentences.push_back(printed(
      "clocks every %g s are interpolated linearly, which costs %s; give clocks of 30 s with --clk",
      clocks->interval_s,
      clocks->interval_s > 600.0 ? "two centimetres horizontally and five in height of a moving receiver"
                                 : "about two centimetres of a moving receiver"));
}

// ---- stations ----

void checkStations(const Files& files, bool moving, Sentences& sentences) {
  const InputFile* first = nullptr;
  for (const InputFile& file : files) {
    if (file.option != "--obs") continue;
    if (first == nullptr) {
      first = &file;
      continue;
    }
    const ObsHeader &a = first->header, &b = file.header;
    const double apart = kilometres(a.position, b.position);
    const std::string both =
        first->path + " (marker " + a.marker + ") and " + file.path + " (marker " + b.marker + ")";
    if (!moving && isKnown(a.position) && isKnown(b.position) && apart > 10.0)
      throw UsageError(both + printed(" are %.0f km apart; a run takes files of one station", apart));
    if (a.marker.substr(0, 4) != b.marker.substr(0, 4))
      sentences.push_back(both + " name different stations; a run takes files of one station");
  }
}

void checkAntenna(const Files& files, const ReplayOptions& options, Sentences& sentences) {
  const bool patterns = !options.deploy.antex.empty() || !options.deployment.empty();
  if (patterns && std::string_view(options.plan.antenna).find_first_not_of(' ') == std::string_view::npos)
    sentences.emplace_back(
        "no antenna type in the observations: offsets and patterns are taken as zero, the height refers to "
        "the "
        "phase centre; give the type with --antenna");
  constexpr double kFar_m = 20.0;
  const auto& header = files.front().header.antennaDelta;  // height, east, north
  if (const double far = std::ranges::max(header, {}, [](double d) { return std::fabs(d); });
      !options.plan.antennaDelta && std::fabs(far) > kFar_m)
    sentences.push_back(
        printed("ANTENNA: DELTA H/E/N of the observations says %g m; are these millimetres? Give the "
                "reference point in metres with --antenna-delta E N U",
                far));
  if (const auto& delta = options.plan.antennaDelta;
      delta && (*delta)[2] == 0.0 && std::hypot((*delta)[0], (*delta)[1]) > 0.05)
    sentences.push_back(
        printed("--antenna-delta is east, north, up: %g m east and %g m north of the marker at its "
                "height; a height comes last",
                (*delta)[0], (*delta)[1]));
}

/// A deployment that is made without ocean loading says so in a file that is one remark.
bool isRemarkAlone(const std::filesystem::path& blq) {
  TextReader in(blq.string());
  std::string_view line;
  return in.next(line) && line.starts_with("$$ Ocean loading: no site") && !in.next(line);
}

void checkOceanLoading(const ReplayOptions& options, const Deployment& deployment, const Vector3& place,
                       Sentences& sentences) {
  const bool deployed = !options.deployment.empty();
  const auto blq = deployed ? deployment.file("ocload") : options.deploy.blq;
  if (blq.empty() || !isKnown(place) || (deployed && isRemarkAlone(blq))) return;
  const auto [apart, site] = nearestSite(blq, place);
  if (apart <= kLoadingServes_km) return;
  sentences.push_back(
      blq.string() + ": no site within 10 km of the station" +
      (site.empty() ? "" : printed(", the nearest is %s, %.0f km away", site.c_str(), apart)) +
      ": no ocean loading is applied, up to 0.05 m of height at oceanic coasts; give a file of the "
      "station");
}

// ---- systems, frames ----

const char* titleOf(char system) {
  switch (system) {
    case 'G':
      return "GPS";
    case 'R':
      return "GLONASS";
    case 'E':
      return "Galileo";
    case 'C':
      return "BeiDou";
    default:
      return "QZSS";
  }
}

void checkSystems(const Files& files, const Deployment& deployment, Sentences& sentences) {
  const auto systemsIn = [&](const char* option) {
    std::set<char> all;
    for (const InputFile& file : files)
      if (file.option == option) all.insert(file.systems.begin(), file.systems.end());
    return all;
  };
  std::string used, observed;
  bool any = false;
  const std::set<char> inObs = systemsIn("--obs");
  for (const auto& [system, bands] : deployment.bands()) {
    used += (used.empty() ? "" : ", ") + std::string(titleOf(system));
    any |= inObs.contains(system);
  }
  for (const char system : inObs) observed += system == 'R' ? "" : std::string(1, system);
  if (!observed.empty() && !any) {
    sentences.push_back("the run uses " + used + ", of which the observations hold nothing; give --systems " +
                        observed);
    return;
  }
  for (const auto& [system, bands] : deployment.bands()) {
    if (system == 'R') {
      sentences.emplace_back(
          "GLONASS is not used: the engine reads it and never estimates with it; leave R out of --systems");
      continue;
    }
    for (const auto& [option, title] :
         {std::pair("--obs", "observations"), std::pair("--sp3", "orbits"), std::pair("--clk", "clocks")}) {
      const std::set<char> present = systemsIn(option);
      if (!present.empty() && !present.contains(system))
        sentences.push_back(std::string("no ") + titleOf(system) + " in the " + title +
                            ": the system gives nothing; leave " + std::string(1, system) +
                            " out of --systems or give other files with " + option);
    }
  }
}

void checkFrame(const RunPlan& plan, Sentences& sentences) {
  if (!plan.sp3.empty() && !plan.massCentre)
    sentences.emplace_back(
        "orbits of SP3 files refer to the satellites' centres of mass, but APC_ITRF takes them as those of "
        "the "
        "antennas, which costs metres; leave --refpoint out, or make the deployment with CoM_ITRF");
}

/// Satellites and antennas of a deployment are those of its date.
void checkDate(const ReplayOptions& options, const Deployment& deployment, Sentences& sentences) {
  constexpr double kSame_s = 8 * 86400.0;
  if (options.deployment.empty()) return;
  std::vector<std::string_view> words;
  const std::string made = plainValue(readJsonFile(deployment.directory() / "ppp.json")["common"]["time"]);
  split(made, words);
  if (words.size() < 3) return;
  const auto date = parseDate(parseInt(words[0]), parseInt(words[1]), parseInt(words[2]), 0, 0, 0.0);
  if (!date || std::fabs(*date - options.deploy.date) < kSame_s) return;
  sentences.push_back("the deployment is made for " + formatTime(*date).substr(0, 10) +
                      ", the observations are of " + formatTime(options.deploy.date).substr(0, 10) +
                      ": satellites and antennas may be others; make it anew with 'gnx init --date'");
}

/// Products bring phase biases in files of their own.
void checkIntegers(const RunPlan& plan, Sentences& sentences) {
  const bool none = plan.broadcastOnly || (!plan.sp3.empty() && plan.bia.empty() && !plan.wideLaneBiases);
  if (plan.resolution && none)
    sentences.emplace_back(
        "nothing to fix: no phase biases in the corrections, the run stays float; give them with --bia, or "
        "with "
        "--wl-biases where the header of the clocks holds wide-lanes");
}

}  // namespace

LoadingSite nearestSite(const std::filesystem::path& blq, const Vector3& place) {
  LoadingSite nearest;
  TextReader in(blq.string());
  std::vector<std::string_view> words;
  for (std::string_view line; in.next(line);) {
    const auto at = line.find("lon/lat:");
    if (at == std::string_view::npos) continue;
    split(line.substr(at + 8), words);
    if (words.size() < 2) continue;
    const auto longitude = parseReal(words[0]), latitude = parseReal(words[1]);
    if (!longitude || !latitude) continue;
    constexpr double kRadian = 0.017453292519943295;
    const double apart = kilometres(
        toEarthFixed({*latitude * kRadian, *longitude * kRadian, toGeodetic(place).height}), place);
    split(line, words);
    if (apart < nearest.apart_km)
      nearest = {apart, std::string(words.size() > 1 ? words[1].substr(0, 4) : "")};
  }
  return nearest;
}

Vector3 knownPlace(const Files& files, const RunPlan& plan) {
  if (isKnown(plan.position) && !plan.headerPosition) return plan.position;
  const auto obs = std::ranges::find(files, "--obs", &InputFile::option);
  return obs == files.end() ? Vector3{} : obs->header.position;
}

Sentences checkInputs(const Files& files, const ReplayOptions& options, const Deployment& deployment) {
  const RunPlan& plan = options.plan;
  checkSpans(files, plan);
  Sentences sentences = deployment.unknownKeys();
  checkStations(files, plan.mode != "static", sentences);
  if (const auto obs = std::ranges::find(files, "--obs", &InputFile::option);
      obs != files.end() && !plan.signals.empty())
    SignalPlan(
        {deployment.bands(), obs->header.types, {}, plan.signals});  // refuses signals that are not there
  checkInterval(files, plan, sentences);
  checkClocks(files, plan, sentences);
  checkDate(options, deployment, sentences);
  checkSystems(files, deployment, sentences);
  checkFrame(plan, sentences);
  checkAntenna(files, options, sentences);
  checkOceanLoading(options, deployment, knownPlace(files, plan), sentences);
  checkIntegers(plan, sentences);
  return sentences;
}

Sentences checkResult(const Files& files, const RunPlan& plan, const std::vector<SolutionEpoch>& epochs) {
  Sentences sentences;
  const auto solved =
      std::find_if(epochs.rbegin(), epochs.rend(), [](const SolutionEpoch& e) { return e.status > 0; });
  for (const auto& [option, title] : {std::pair("--clk", "clocks"), std::pair("--sp3", "orbits")}) {
    const Span span = spanOf(files, option);
    if (epochs.empty() || !span.last || epochs.back().time - *span.last < 1800.0) continue;
    sentences.push_back(std::string("the ") + title + " end at " + formatTime(*span.last) +
                        ", the observations at " + formatTime(epochs.back().time) +
                        ": epochs in between have no corrections; give the file of the next day too");
  }
  if (!plan.reference || solved == epochs.rend()) return sentences;
  constexpr double kSamePlace_m = 100.0;
  const double apart = length(minus(solved->xyz, *plan.reference));
  if (apart > kSamePlace_m)
    sentences.push_back(
        printed("the reference lies %.1f km away from the solution, so that the errors say nothing; "
                "check --reference, X Y Z of this station in metres",
                apart / 1e3));
  return sentences;
}

}  // namespace gnx
