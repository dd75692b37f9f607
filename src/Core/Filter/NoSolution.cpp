// Why an epoch has no solution, said when it begins and when it ends.

#include "Core/Filter/NoSolution.h"

#include <algorithm>
#include <iterator>

#include "Common/Logtrace.h"
#include "Core/Filter/FilterConfig.h"
#include "Core/Filter/SrifFilter.h"

namespace tarvio {

namespace {

class FateCount {
 public:
  void m_add(Fate fate) { ++m_count[static_cast<int>(fate)]; }
  Fate m_most() const { return static_cast<Fate>(std::max_element(m_count, std::end(m_count)) - m_count); }

 private:
  int m_count[ObservationAccount::kFates] = {};
};

}  // namespace

void NoSolution::m_noteInput(const SrifFilter& filter) {
  const Deploy& config = s_config();
  m_observed = m_refused = m_served = 0;
  m_positioned = false;
  std::fill_n(m_useful, kSys, 0);
  FateCount refusals, lacking;
  for (const Station& sta : filter.m_stations)
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      const Ssat_t& sat = sta.m_sat[isat];
      if (std::all_of(sat.m_obs, sat.m_obs + kObs, [](double v) { return v == 0.0; })) {
        if (sat.m_flag[0] == kFlagGood) continue;
        ++m_refused;
        refusals.m_add(s_fateOfFlag(sat.m_flag[0], Fate::partner));
        continue;
      }
      ++m_observed;
      const Satellite& satellite = config.m_satellites[static_cast<std::size_t>(isat)];
      if (satellite.m_clk != 0.0 && satellite.m_xyz[0] != 0.0) {
        ++m_served;
        continue;
      }
      lacking.m_add(s_productFate(filter.m_orbclk, isat, filter.mjd, filter.sod, Fate::noOrbit));
    }
  m_refusal = refusals.m_most();
  m_lacking = lacking.m_most();
}

void NoSolution::m_noteUseful(const int (&count)[kSys]) {
  for (int isys = 0; isys < kSys; ++isys) m_useful[isys] += count[isys];
}

void NoSolution::m_tell(const SrifFilter& filter) {
  switch (m_condition.m_update(filter.m_solstat == kStateNone)) {
    case StatusCondition::Change::begins:
      Logtrace::m_logStatInfo("[%d %8.1lf] no solution (state 00) from here on: %s\n", filter.mjd, filter.sod,
                              m_sentence(filter).c_str());
      break;
    case StatusCondition::Change::ends:
      Logtrace::m_logStatInfo("[%d %8.1lf] solutions again (state %02d)\n", filter.mjd, filter.sod,
                              filter.m_solstat);
      break;
    default:
      break;
  }
}

Reason NoSolution::m_reason(const SrifFilter& filter) const {
  if (m_observed == 0) return Reason::noObservation;
  if (m_served == 0) return Reason::noProduct;
  if (!m_positioned) return Reason::noPosition;
  if (*std::max_element(m_useful, m_useful + kSys) < kLeastSatellites) return Reason::fewSatellites;
  return filter.m_waiting.empty() ? Reason::noRow : Reason::arrayFull;
}

std::string NoSolution::m_sentence(const SrifFilter& filter) const {
  const std::string observed = std::to_string(m_observed) + " satellites observed";
  const std::string served = observed + ", " + std::to_string(m_served) + " with orbit and clock";
  switch (m_reason(filter)) {
    case Reason::noObservation:
      if (m_refused == 0) return "no observation that can be used";
      return "no observation that can be used, " + std::to_string(m_refused) + " satellites refused (" +
             s_fateName(m_refusal) + ")";
    case Reason::noProduct:
      return observed + ", none of them with orbit and clock (" + s_fateName(m_lacking) + ")";
    case Reason::noPosition:
      return served + ", no receiver position from their codes";
    case Reason::fewSatellites:
      return served + ", too few with residuals: " + m_satellites() + "; one system needs " +
             std::to_string(kLeastSatellites);
    case Reason::arrayFull:
      return "the array is full";
    default:
      return served + ", the combination makes no row of them";
  }
}

std::string NoSolution::m_satellites() const {
  std::string text;
  for (int isys = 0; isys < kSys; ++isys)
    if (m_useful[isys] > 0)
      text.append(text.empty() ? "" : ", ")
          .append(1, SYS[isys])
          .append(" ")
          .append(std::to_string(m_useful[isys]));
  return text.empty() ? "none" : text;
}

}  // namespace tarvio
