// What a host may ask beyond the entry points. Nothing leaves but texts and values.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <filesystem>
#include <sstream>
#include <utility>

#include "Adapter/SsrOrbitClkAdapter.h"
#include "Common/Callable.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Common/Patterns.h"
#include "Common/ProductHeaders.h"
#include "Config/IntegerFaults.h"
#include "Config/PatternTable.h"
#include "Core/Filter/ObservationAccount.h"
#include "Core/Filter/SrifFilter.h"
#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "Interface/Controller.h"
#include "Interface/DeploymentTrial.h"
#include "Interface/NumericLocale.h"
#include "Interface/Results.h"

namespace tarvio {

namespace {

constexpr double kNavigationVersion = 3.04;
constexpr std::size_t kMaxSp3Satellites = 999;
constexpr int kMaxSp3Epochs = 9999999;

/// Runs the body of a function that answers with a sentence.
template <class Body>
std::string s_answer(Body body) {
  try {
    const NumericLocale locale;
    return body();
  } catch (const std::exception& failure) {
    return failure.what();
  } catch (...) {
    return "failed for a reason that is not known";
  }
}

/// Years 1980 to 2099, which every conversion of time takes.
bool s_inRange(GNX_IO::gtime_t t) {
  constexpr std::int64_t kFirst = 315964800, kEnd = 4102444800;
  return t.time >= kFirst && t.time < kEnd && std::fabs(t.sec) <= kDay;
}

bool s_running() { return __atomic_load_n(&GNX_isInitialize, __ATOMIC_ACQUIRE) != 0; }

/// The registrations of a host, each under its number.
class Listeners : public Callable {
 public:
  static Listeners& s_getInstance() {
    static Listeners& listeners = *new Listeners;  // a host may remove its own at the very end
    return listeners;
  }

  int m_add(const std::string& event, const GNX_EXT::EventListener& listener) {
    const int number = ++m_last;
    for (const char* name : event::kAll) {
      if (!event.empty() && event != name) continue;
      const CallBack callback(
          [name, listener](const KvContainer& values) { s_call(name, listener, values); });
      m_register(name, callback);
      m_byNumber[number].emplace_back(name, callback);
    }
    return m_byNumber.contains(number) ? number : 0;
  }

  int m_addResults(const GNX_EXT::ResultListener& listener) {
    Results::s_getInstance().m_add(++m_last, listener);
    return m_last;
  }

  bool m_drop(int number) {
    if (Results::s_getInstance().m_drop(number)) return true;
    const auto own = m_byNumber.find(number);
    if (own == m_byNumber.end()) return false;
    for (const auto& [event, callback] : own->second) m_remove(event, callback);
    m_byNumber.erase(own);
    return true;
  }

 private:
  static void s_call(const char* event, const GNX_EXT::EventListener& listener, const KvContainer& values) {
    try {
      listener(event, values);
    } catch (const std::exception& failure) {
      Logtrace::m_logStatInfo("a listener of event %s failed: %s\n", event, failure.what());
    } catch (...) {
      Logtrace::m_logStatInfo("a listener of event %s failed\n", event);
    }
  }

  int m_last = 0;
  std::map<int, std::vector<std::pair<std::string, CallBack>>> m_byNumber;
};

/// A text of the filter's last epoch, "" when that has no solution.
template <class Text>
std::string s_ofLastEpoch(Text text) {
  return s_answer([&]() -> std::string {
    SrifFilter* filter = s_running() ? Controller::s_getInstance()->m_filter : nullptr;
    return filter == nullptr || filter->m_solstat == kStateNone ? "" : text(*filter);
  });
}

std::string s_listOf(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string s_expandPattern(const std::string& pattern, const std::string& station, GNX_IO::gtime_t time,
                            std::string& name) {
  if (pattern.empty()) return "a pattern of file names is empty";
  if (pattern.size() > Patterns::kMaxLength)
    return "a pattern of file names has more than " + std::to_string(Patterns::kMaxLength) + " characters";
  if (!s_inRange(time)) return "the time of a file name lies outside the years 1980 to 2099";
  int mjd = 0;
  double sod = 0.0;
  s_epochOf(time, &mjd, &sod);
  std::string expanded, word;
  if (!Patterns::s_expand(pattern, "SITE=" + station, mjd, sod, expanded, word))
    return "'" + word + "' is no word of a file name; words are " + s_listOf(Patterns::s_words()) +
           ", each between [ and ]";
  name = std::move(expanded);
  return "";
}

std::string s_readPattern(const std::string& file, const std::string& keyword, std::string& pattern) {
  if (file.empty() && !s_running()) return "the engine is not initialised, so no table of patterns is known";
  Patterns table;
  std::string wrong =
      table.m_load(file.empty() ? s_patternFile(Controller::s_getInstance()->m_deploy) : file);
  if (!wrong.empty()) return wrong;
  const std::string* found = table.m_pattern(keyword);
  if (found == nullptr) return "keyword '" + keyword + "' is not in the table of file names";
  pattern = *found;
  return "";
}

/// Names of three characters such as "G05".
std::string s_checkNames(const std::vector<std::string>& names, std::size_t most) {
  if (names.empty() || names.size() > most)
    return "a product file holds 1 to " + std::to_string(most) + " satellites, not " +
           std::to_string(names.size());
  const auto bad =
      std::find_if(names.begin(), names.end(), [](const auto& name) { return name.size() != 3; });
  return bad == names.end() ? "" : "'" + *bad + "' is no satellite such as G05";
}

std::string s_orbitFileHeader(const GNX_EXT::OrbitFile& file, std::string& header) {
  if (std::string wrong = s_checkNames(file.satellites, kMaxSp3Satellites); !wrong.empty()) return wrong;
  if (!s_inRange(file.first)) return "the first epoch lies outside the years 1980 to 2099";
  if (file.epochs < 1 || file.epochs > kMaxSp3Epochs) return "an orbit file holds 1 to 9999999 epochs";
  if (!(file.interval_s > 0.0 && file.interval_s < 1.0e5))
    return "the interval of an orbit file is not between 0 and 100000 s";
  Sp3Header sp3;
  s_epochOf(file.first, &sp3.m_mjd, &sp3.m_sod);
  sp3.m_nepoch = file.epochs;
  sp3.m_intv = file.interval_s;
  sp3.m_cprn = file.satellites;
  sp3.m_frame = file.frame;
  sp3.m_orbtype = file.orbitType;
  sp3.m_comments = file.comments;
  std::ostringstream out;
  m_wtsp3hd(out, sp3);
  header = out.str();
  return "";
}

std::string s_clockFileHeader(const GNX_EXT::ClockFile& file, std::string& header) {
  if (std::string wrong = s_checkNames(file.satellites, 999999); !wrong.empty()) return wrong;
  if (!s_inRange(file.made)) return "the date of the file lies outside the years 1980 to 2099";
  ClkHeader clk;
  s_epochOf(file.made, &clk.m_mjd, &clk.m_sod);
  clk.m_leap = file.leapSeconds;
  clk.m_cprn = file.satellites;
  clk.m_comments = file.comments;
  std::ostringstream out;
  m_wtclkhd(out, clk);
  header = out.str();
  return "";
}

std::string s_writeStoreFiles(GNX_IO::gtime_t time, std::vector<std::string>& files) {
  if (!s_running()) return "the engine is not initialised";
  if (!s_inRange(time)) return "the time of the store files lies outside the years 1980 to 2099";
  auto* store = dynamic_cast<SsrOrbitClkAdapter*>(Controller::s_getInstance()->m_orbclk);
  if (store == nullptr) return "the engine has no store of corrections";
  int mjd = 0;
  double sod = 0.0;
  s_epochOf(time, &mjd, &sod);
  store->v_openOutFile(std::to_string(mjd) + ":" + std::to_string(sod), kNavigationVersion);
  const std::vector<std::string> names = {store->m_brdmFile, store->m_ssrFile};
  store->v_outFileEph();
  store->v_closeOutFile();
  for (const std::string& name : names)
    if (!std::filesystem::exists(name)) return name + ": cannot be written; check the output directory";
  files = names;
  return "";
}

}  // namespace

}  // namespace tarvio

namespace GNX_EXT {

using namespace tarvio;

std::vector<std::string> eventNames() { return {std::begin(event::kAll), std::end(event::kAll)}; }

int addListener(const std::string& event, EventListener listener) {
  int number = 0;
  s_answer([&] {
    if (listener) number = Listeners::s_getInstance().m_add(event, listener);
    return "";
  });
  return number;
}

const char* fateName(Fate fate) { return fate < Fate::count ? s_fateName(fate) : ""; }

int addResultListener(ResultListener listener) {
  int number = 0;
  s_answer([&] {
    if (listener) number = Listeners::s_getInstance().m_addResults(listener);
    return "";
  });
  return number;
}

std::string positionLine() {
  return s_ofLastEpoch([](SrifFilter& filter) { return filter.m_getRTKLIBSeq(); });
}

std::string ggaSentence() {
  return s_ofLastEpoch([](SrifFilter& filter) { return filter.m_getGGASeq(); });
}

bool removeListener(int number) {
  bool found = false;
  s_answer([&] {
    found = Listeners::s_getInstance().m_drop(number);
    return "";
  });
  return found;
}

std::string setOutputOptions(const std::string& options) {
  return s_answer([&]() -> std::string {
    if (!s_running()) return "the engine is not initialised";
    auto& room = Controller::s_getInstance()->m_deploy.m_pams;
    if (options.size() >= sizeof room)
      return "output options have more than " + std::to_string(sizeof room - 1) + " characters";
    std::memcpy(room, options.c_str(), options.size() + 1);
    return "";
  });
}

std::string saveState(std::string& state) {
  return s_answer([&]() -> std::string {
    if (!s_running()) return "the engine is not initialised";
    std::string made = Controller::s_getInstance()->m_state();
    if (made.empty()) return "there is no state before the first epoch";
    state = std::move(made);
    return "";
  });
}

std::string resumeState(const std::string& state) {
  return s_answer([&]() -> std::string {
    if (!s_running()) return "the engine is not initialised";
    Controller::s_getInstance()->m_resume(state);
    return "";
  });
}

void boundLogs(std::int64_t bytes) {
  s_answer([&] {
    tarvio::Logtrace::s_defaultlogger.m_setBound(bytes);
    return "";
  });
}

std::string boundBiases(double seconds) {
  return s_answer([&]() -> std::string {
    if (!s_running()) return "the engine is not initialised";
    if (!(seconds > 0.0)) return "biases are kept for some seconds at least";
    Controller::s_getInstance()->m_upd.m_keepFor(seconds);
    return "";
  });
}

void setClock(std::int64_t utcSeconds) { tarvio::s_setWallClock(static_cast<long>(utcSeconds)); }

std::vector<IntegerFault> integerFaults(const IntegerSettings& settings) {
  try {
    return s_integerFaults(settings);
  } catch (...) {  // no memory
    return {};
  }
}

DeploymentCheck checkDeployment(const std::string& directory) {
  DeploymentCheck check;
  check.fault = s_answer([&] { return s_checkDeployment(directory, check); });
  check.usable = check.fault.empty();
  return check;
}

std::string expandPattern(const std::string& pattern, const std::string& station, GNX_IO::gtime_t time,
                          std::string& name) {
  return s_answer([&] { return s_expandPattern(pattern, station, time, name); });
}

std::string readPattern(const std::string& file, const std::string& keyword, std::string& pattern) {
  return s_answer([&] { return s_readPattern(file, keyword, pattern); });
}

std::string orbitFileHeader(const OrbitFile& file, std::string& header) {
  return s_answer([&] { return s_orbitFileHeader(file, header); });
}

std::string clockFileHeader(const ClockFile& file, std::string& header) {
  return s_answer([&] { return s_clockFileHeader(file, header); });
}

std::string writeStoreFiles(GNX_IO::gtime_t time, std::vector<std::string>& files) {
  return s_answer([&] { return s_writeStoreFiles(time, files); });
}

}  // namespace GNX_EXT
