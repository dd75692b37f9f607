// Biases of the host: code biases as they are; phase biases by signal into biases of the combinations
// that the ambiguity resolution works on (cycles); inter-frequency clock terms.
//
// A phase bias b (m) is added to the observed phase. The integer combination N of two phases then
// equals the float one minus X, with X = -(f1 b1 - f2 b2)/(f1 - f2)/lambda for the wide-lane and
// X = -(f1^2 b1 - f2^2 b2)/(f1^2 - f2^2)/lambda for the narrow-lane.

#include <algorithm>
#include <cmath>

#include "Common/ComFreq.h"
#include "Common/Logtrace.h"
#include "Config/SatelliteTable.h"
#include "Interface/BoundaryInput.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

constexpr double kMaxBias_m = 1.0e5;  ///< what is larger is no bias

/// The biases of one call.
struct Batch {
  Upd_comb comb[kLevelCount];  ///< by place of the level
  Upd_bias bySignal;
  int refused = 0;
};

/// Phase biases by slot, metres; a later code of a band overwrites an earlier one.
void s_bySlot(const GNX_IO::ssr_t& source, const SignalTable& signals, int isys, double (&b)[kFreq],
              int& refused) {
  std::fill(std::begin(b), std::end(b), kNone);
  for (int number = 1; number <= GNX_IO::kMaxCode; ++number) {
    const int slot = signals.m_slot[isys][number];
    if (slot < 0 || source.stdpb[number - 1] == 0.0F) continue;
    if (s_usable(&source.pbias[number - 1], 1, kMaxBias_m)) b[slot] = source.pbias[number - 1];
    else ++refused;
  }
}

/// Frequencies and biases of the pair of a level; false when it is not complete.
struct Pair {
  double f1, f2, b1, b2;
};

bool s_pair(const Deploy& deploy, const Upd_ambconfig& level, int isat, int isys, const double (&b)[kFreq],
            Pair& pair) {
  const int p = level.ambfreq[isys][0], q = level.ambfreq[isys][1];
  if (p < 0 || q < 0 || p >= kFreq || q >= kFreq || b[p] == kNone || b[q] == kNone) return false;
  pair = {freqbytp(isat, deploy.m_freqUsed[isys][p]), freqbytp(isat, deploy.m_freqUsed[isys][q]), b[p], b[q]};
  return pair.f1 != pair.f2;
}

double s_wideLane(const Pair& pair) {
  const double lambda = kLight / (pair.f1 - pair.f2);
  return -(pair.f1 * pair.b1 - pair.f2 * pair.b2) / (pair.f1 - pair.f2) / lambda;
}

double s_narrowLane(const Pair& pair) {
  const double g1 = pair.f1 * pair.f1, g2 = pair.f2 * pair.f2;
  return -(g1 * pair.b1 - g2 * pair.b2) / (g1 - g2) / (kLight / (pair.f1 + pair.f2));
}

void s_setPhase(const GNX_IO::ssr_t& source, int isat, int isys, const Controller& controller, Batch& batch) {
  if (!s_usableTime(source.t0_pbias)) {
    ++batch.refused;
    return;
  }
  int mjd = 0;
  double sod = 0.0;
  s_epochOf(source.t0_pbias, &mjd, &sod);
  double b[kFreq];
  s_bySlot(source, controller.m_signals, isys, b, batch.refused);

  const auto stamp = [&](auto& set) {
    set.m_mjd = mjd;
    set.m_sod = sod;
    set.m_time[isat] = mjd + sod / kDay;
  };
  const auto setComb = [&](Level level, double value) {
    Upd_comb& comb = batch.comb[s_place(level)];
    stamp(comb);
    comb.m_value[isat] = value;
  };
  const Deploy& deploy = controller.m_deploy;
  Pair pair{};
  if (s_pair(deploy, deploy.m_settingsOf(Level::last), isat, isys, b, pair)) {
    setComb(Level::wideLane, s_wideLane(pair));
    setComb(Level::last, s_narrowLane(pair));
  }
  if (s_pair(deploy, deploy.m_settingsOf(Level::extraWideLane), isat, isys, b, pair))
    setComb(Level::extraWideLane, s_wideLane(pair));

  for (int slot = 0; slot < kFreq; ++slot) {
    if (b[slot] == kNone) continue;
    stamp(batch.bySignal);
    batch.bySignal.m_value[isat][slot] = b[slot];
  }
}

void s_setCode(const GNX_IO::ssr_t& source, const char* cprn, Controller& controller, int& refused) {
  if (s_usableTime(source.t0_cbias)) {
    int mjd = 0;
    double sod = 0.0;
    s_epochOf(source.t0_cbias, &mjd, &sod);
    controller.m_codebias.m_noteTime(mjd, sod);
  }
  for (int number = 1; number <= GNX_IO::kMaxCode; ++number) {
    const char* code = controller.m_signals.m_code[number];
    const double bias = source.cbias[number - 1];
    if (code[0] == '\0' || bias == 0.0) continue;
    if (s_usable(&bias, 1, kMaxBias_m)) controller.m_codebias.v_inputCodeBias(cprn, code, bias);
    else ++refused;
  }
}

void s_setIfpb(const GNX_IO::ssr_t& source, const std::string& cprn, Controller& controller, int& refused) {
  if (!s_usable(&source.ifpb, 1, kMaxBias_m)) {
    ++refused;
    return;
  }
  t_ifpb record;
  record.m_valid = true;
  record.m_value = source.ifpb;
  record.m_t1 = source.t1_ifpb.time;
  record.m_t0 = source.t0_ifpb.time;
  controller.m_ifpb.m_inputIfpb(cprn, record);
}

}  // namespace

void s_setBiasData(GNX_IO::ssr_t* ssr) {
  if (ssr == nullptr) return;
  Controller& controller = *Controller::s_getInstance();
  Batch batch;
  for (int number = 1; number <= GNX_IO::kMaxSatellite; ++number) {
    GNX_IO::ssr_t& source = ssr[number - 1];
    const int isat = controller.m_signals.m_row[number];
    const int isys = isat < 0 ? -1 : controller.m_signals.m_sys[isat];
    if (isys < 0) continue;
    const std::string& cprn = controller.m_deploy.m_cprn[isat];
    if (s_consume(source.mark_pbias)) s_setPhase(source, isat, isys, controller, batch);
    if (s_consume(source.mark_cbias)) s_setCode(source, cprn.c_str(), controller, batch.refused);
    if (s_consume(source.mark_ifpb)) s_setIfpb(source, cprn, controller, batch.refused);
  }
  if (batch.refused > 0)
    Logtrace::m_logStatInfo("%d biases hold impossible numbers, refused\n", batch.refused);
  for (const LevelTraits& level : kLevels) {
    const Upd_comb& comb = batch.comb[s_place(level.level)];
    if (comb.m_mjd != 0) controller.m_upd.v_inputComb("comb", level.tag, comb);
  }
  if (controller.m_deploy.m_losb && batch.bySignal.m_mjd != 0) controller.m_upd.v_inputBias(batch.bySignal);
}

}  // namespace tarvio
