// Finds levels that contradict the observations, their biases or one another.

#include "Config/IntegerFaults.h"

#include <utility>

namespace tarvio {

namespace {

using GNX_EXT::IntegerFault;
using GNX_EXT::IntegerLevel;
using GNX_EXT::IntegerSettings;

bool s_holds(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

/// Whether a level can give the next one its integers without a search in the filter.
bool s_smoothedFixes(const IntegerLevel& level) {
  return level.resolution && s_holds(level.type, "mw") && level.mwFix;
}

class Rules {
 public:
  explicit Rules(const IntegerSettings& settings) : m_settings(settings) {}

  std::vector<IntegerFault> m_apply() {
    const auto& [ewl, wl, n1] = m_settings.levels;
    if (!ewl.resolution && !wl.resolution && !n1.resolution) return {};
    m_biases();
    m_smoothed();
    if (s_holds(m_settings.combination, "RAW")) m_separate();
    else if (s_holds(m_settings.combination, "SF"))
      m_never(
          "single-frequency observations have no wide-lane: integers are never resolved; use obscomb RAW "
          "with two frequencies");
    else m_ionosphereFree();
    return std::move(m_faults);
  }

 private:
  void m_wrong(const std::string& sentence) { m_faults.push_back({true, sentence}); }
  void m_never(const std::string& sentence) { m_faults.push_back({false, sentence}); }

  void m_biases() {
    static constexpr const char* kTags[] = {"ewl", "wl", "n1"};
    for (std::size_t i = 0; i < m_settings.levels.size(); ++i) {
      const IntegerLevel& level = m_settings.levels[i];
      if (level.resolution && level.updSwitch && !m_settings.osb && !s_holds(level.updType, "comb"))
        m_never(std::string(kTags[i]) +
                ": upd_type snx names a store without biases, so nothing is fixed; use upd_type comb");
    }
  }

  void m_smoothed() {
    const auto& [ewl, wl, n1] = m_settings.levels;
    for (const auto& [level, tag] : {std::pair{&ewl, "ewl"}, {&wl, "wl"}})
      if (level->resolution && s_holds(level->type, "mw") && !level->mwFix)
        m_never(
            std::string(tag) +
            ": amb_type mw smooths wide-lanes and never fixes them; switch mwfix on, or use amb_type raw");
  }

  void m_separate() {
    const auto& [ewl, wl, n1] = m_settings.levels;
    if (s_holds(m_settings.ionosphere, "ION_NONE"))
      m_wrong(
          "obscomb RAW with ionmodel ION_NONE leaves the ionosphere in the ambiguities, so integers are "
          "wrong; "
          "use ionmodel ION_EST, or obscomb IF");
    if (!n1.resolution) return;
    if (s_holds(n1.type, "raw") && n1.updSwitch && !m_settings.osb)
      m_wrong(
          "n1: amb_type raw with upd_switch on takes biases of narrow-lanes for those of one frequency, so "
          "integers are wrong; use amb_type NL");
    if (!wl.resolution)
      m_never("n1 builds on wide-lanes, which resolution off of wl never fixes; switch resolution of wl on");
  }

  void m_ionosphereFree() {
    const auto& [ewl, wl, n1] = m_settings.levels;
    const bool three = s_holds(m_settings.combination, "AFIF");
    const bool inFilter = three && s_smoothedFixes(ewl) && wl.resolution && s_holds(wl.type, "raw");
    if (!n1.resolution || s_smoothedFixes(wl) || inFilter) return;
    m_never(three ? "obscomb AFIF fixes narrow-lanes on wide-lanes that need smoothed extra-wide-lanes; use "
                    "amb_type mw "
                    "with mwfix on for ewl and raw for wl"
                  : "obscomb IF has no wide-lane in the filter, so narrow-lanes are never fixed; use "
                    "amb_type mw with "
                    "mwfix on for wl");
  }

  const IntegerSettings& m_settings;
  std::vector<IntegerFault> m_faults;
};

}  // namespace

std::vector<IntegerFault> s_integerFaults(const IntegerSettings& settings) {
  return Rules(settings).m_apply();
}

IntegerSettings s_integerSettings(const Deploy& deploy) {
  IntegerSettings settings{deploy.m_obscomb, deploy.m_ionmodel, deploy.m_losb, {}};
  for (const LevelTraits& level : kLevels) {
    const Upd_ambconfig& own = deploy.m_settingsOf(level.level);
    settings.levels[static_cast<std::size_t>(s_place(level.level))] = {
        own.m_resolution, own.m_ambType, own.m_updSwitch, own.m_updType,
        own.m_mwFix || s_holds(deploy.m_pams, "-mwfix")};
  }
  return settings;
}

}  // namespace tarvio
