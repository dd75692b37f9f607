// References:
//   B    Blewitt 1990, An automatic editing algorithm for GPS data, Geophys. Res. Lett. 17(3)
//   MW   Melbourne 1985; Wuebbena 1985: wide-lane phase minus narrow-lane code

#include "Core/Qc/QcTurboEdit.h"

#include <algorithm>
#include <cmath>

#include "Common/ComFreq.h"
#include "Common/ComTime.h"
#include "Common/ElevationWeight.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"

namespace tarvio {

namespace {

constexpr int kPairs = 6;               ///< pair records of a satellite: all pairs of four frequencies
constexpr double kRateWindow = 301.0;   ///< s, memory of the geometry-free rate
constexpr double kRateMaxStep = 10.0;   ///< s, epochs closer than this have the rate removed
constexpr double kRateGrid = 30.0;      ///< s, the rate is sampled on its multiples
constexpr double kRateLeastStep = 1.0;  ///< s, over less the noise of the phases drowns the rate
constexpr double kTagTolerance =
    1.0e-3;                           ///< s, between the tag of an epoch and the multiple that it stands for
constexpr double kGfFixed = 0.15;     ///< m, geometry-free limit while no rate is known
constexpr double kMwThirdPair = 0.8;  ///< cycles, limit of the third pair (1,2): the extra-wide-lane
constexpr double kMwWidest = 10.0;    ///< cycles, where the widening at low elevation ends
constexpr double kUsualSigmas = 5.0;  ///< of a change, when its noise is known
constexpr double kQuietElevation = 7.0 * kDegToRad;  ///< below it a slip is not worth a line

/// What both detectors know about the satellite of a call.
struct Context {
  int m_mjd;
  double m_sod;
  int m_isat, m_isys;
  const char* m_station;
  double m_elev;
  const Deploy& m_deploy;
  SlipExpectation m_expected{};

  const char* m_cprn() const { return m_deploy.m_cprn[m_isat].c_str(); }
  const char* m_name(int f) const { return m_deploy.m_freqObs[m_isys][f]; }
};

/// The two combinations of a frequency pair.
struct Combination {
  double m_gf, m_mw;
};

Combination s_combine(const Context& at, const double* obs, int i, int j) {
  const double fi = freqbytp(at.m_isat, at.m_name(i)), fj = freqbytp(at.m_isat, at.m_name(j));
  const double g = fi / fj, lw = kLight / (fi - fj);
  const double li = obs[i], lj = obs[j], pi = obs[i + kFreq], pj = obs[j + kFreq];
  return {kLight / fi * li - kLight / fj * lj, li - lj - (pi * g + pj) / (g + 1.0) / lw};
}

void s_restart(QcSlip& record) {
  record.m_nmw = 0;
  record.m_mw = 0.0;
  record.m_rateTime = 0.0;
  record.m_rate.m_reset();
}

void s_update(const Context& at, const Combination& now, QcSlip& record) {
  record.m_mjd = at.m_mjd;
  record.m_sod = at.m_sod;
  record.m_gf = now.m_gf;
  record.m_mw = (record.m_nmw * record.m_mw + now.m_mw) / (record.m_nmw + 1);
  ++record.m_nmw;
}

/// Samples the geometry-free rate on the half minute: over the last step or, when the steps are short, over
/// the time since the last half minute.
void s_sampleRate(const Context& at, double dt, const Combination& now, QcSlip& record) {
  if (!(dt > 0.0)) return;  // a repeated epoch has none
  if (std::fabs(at.m_sod - std::round(at.m_sod / kRateGrid) * kRateGrid) > kTagTolerance) return;
  double rate = (now.m_gf - record.m_gf) / dt;
  if (dt < kRateLeastStep) {
    const double start = record.m_rateTime, startGf = record.m_rateGf;
    record.m_rateTime = at.m_mjd + at.m_sod / kDay;
    record.m_rateGf = now.m_gf;
    const double span = (at.m_mjd - start) * kDay + at.m_sod;
    if (start == 0.0 || span < kRateLeastStep) return;
    rate = (now.m_gf - startGf) / span;
  }
  record.m_rate.m_smooth(static_cast<int>(mjd2time(at.m_mjd, at.m_sod)), rate, nullptr, nullptr);
}

double s_mwLimit(const Context& at, int i, int j, int pair) {
  double limit = pair == 2 ? kMwThirdPair : at.m_deploy.m_turboedit[1];
  if (at.m_elev != 0.0 && at.m_elev < kFullWeightElevation_rad) {
    limit = std::min(limit / s_elevationFactor(at.m_elev), kMwWidest);
  }
  // Codes of two frequencies, in equal parts nearly, in cycles of the wide-lane.
  const double fi = freqbytp(at.m_isat, at.m_name(i)), fj = freqbytp(at.m_isat, at.m_name(j));
  const double noise = std::sqrt(0.5) * at.m_expected.codeSigma * std::fabs(fi - fj) / kLight;
  return std::min(std::max(limit, kUsualSigmas * noise), kMwWidest);
}

/// The configured limit, or what the noise of four phases explains where it is more: near the horizon.
double s_gfLimit(const Context& at, double rate, double dt) {
  const double limit =
      rate != 0.0 ? (1.0 - std::exp(-dt / 60.0) * 0.5) * at.m_deploy.m_turboedit[3] : kGfFixed;
  return std::max(limit, kUsualSigmas * 2.0 * at.m_expected.phaseSigma);
}

/// Change of a pair's geometry-free phase that the ionosphere makes, m.
double s_explained(const Context& at, int i, int j, double rate, double dt) {
  const SlipExpectation& known = at.m_expected;
  if (!known.rateKnown) return dt < kRateMaxStep ? dt * rate : 0.0;
  const auto ratio = [&](int f) {
    const double r = known.frequency / freqbytp(at.m_isat, at.m_name(f));
    return r * r;
  };
  return dt * known.ionosphereRate * (ratio(j) - ratio(i));
}

/// Tests one pair against its record. \return kSlipNone when it is clean
SlipKind s_testPair(const Context& at, int i, int j, int pair, double dt, const Combination& now,
                    QcSlip& record) {
  const double dMw = now.m_mw - record.m_mw;
  const double dGf = now.m_gf - record.m_gf;
  const double rate = record.m_rate.m_count > 0 ? record.m_rate.m_mean : 0.0;
  const double unexplained = dGf - s_explained(at, i, j, rate, dt);
  const double mwLimit = s_mwLimit(at, i, j, pair);
  const double gfLimit = s_gfLimit(at, rate, dt);

  const bool mwSlip = std::fabs(dMw) > mwLimit, gfSlip = std::fabs(unexplained) > gfLimit;
  if (!mwSlip && !gfSlip) {
    s_sampleRate(at, dt, now, record);
    return kSlipNone;
  }
  if (at.m_elev == 0.0 || at.m_elev >= kQuietElevation) {
    Logtrace::m_logtagTrace("SLIP",
                            "[%d %8.1lf] [%s %s %s %s] new ambiguity: (c)%6.2lf vs (m)%6.2lf(mw) "
                            "(c)%6.2lf vs (m)%6.2lf(dtec) %7.2lf(elev) %8.1lf(dt)\n",
                            at.m_mjd, at.m_sod, at.m_station, at.m_cprn(), at.m_name(i), at.m_name(j),
                            std::fabs(dMw), mwLimit, std::fabs(unexplained), gfLimit, at.m_elev * kRadToDeg,
                            dt);
  }
  return gfSlip ? kSlipGeometryFree : kSlipWideLane;
}

/// A frequency not seen for longer than the gap limit starts anew.
void s_flagGaps(const Context& at, int n, const double* obs, const QcSlip* sm, int* slip, int* votes) {
  for (int f = 0; f < n; ++f) {
    if (obs[f] == 0.0) continue;
    const double gap = (at.m_mjd - sm[f].m_tlast) * kDay + at.m_sod;
    if (!(gap > at.m_deploy.m_turboedit[2])) continue;
    ++votes[f];
    slip[f] = kSlipGap;
    Logtrace::m_logtagTrace("SLIP", "[%d %8.1lf] [%s %s %s] reset as new ambiguity since gap\n", at.m_mjd,
                            at.m_sod, at.m_station, at.m_cprn(), at.m_name(f));
  }
}

void s_testPairs(const Context& at, int n, const double* obs, QcSlip* sm, int* slip, int* votes) {
  const long now = mjd2time(at.m_mjd, at.m_sod);
  int pair = -1;
  for (int i = 0; i < n; ++i) {
    for (int j = i + 1; j < n; ++j) {
      if (++pair >= kPairs) return;
      if (obs[i] == 0.0 || obs[j] == 0.0 || obs[i + kFreq] == 0.0 || obs[j + kFreq] == 0.0) continue;
      QcSlip& record = sm[pair];
      record.m_rate.m_remove([now](int t) { return t < static_cast<double>(now) - kRateWindow; });
      const Combination values = s_combine(at, obs, i, j);
      const double dt = std::fabs(timdif(at.m_mjd, at.m_sod, record.m_mjd, record.m_sod));
      if (dt > at.m_deploy.m_turboedit[2]) {
        s_restart(record);
      } else if (const SlipKind kind = s_testPair(at, i, j, pair, dt, values, record); kind != kSlipNone) {
        ++votes[i];
        ++votes[j];
        slip[i] = slip[j] = kind;
        s_restart(record);
      } else {
        --votes[i];
        --votes[j];
      }
      s_update(at, values, record);
    }
  }
}

/// A slip of one frequency fails every pair that holds it: the votes tell which one it was.
void s_attribute(const Context& at, int n, const int* votes, int* slip) {
  const int* clean = std::find_if(votes, votes + n, [](int v) { return v < 0; });
  const int worst = *std::max_element(slip, slip + kFreq);
  if (worst != kSlipNone && clean != votes + n) {
    Logtrace::m_logtagTrace("SLIP", "[%d %8.1lf] [%s %s %s] detect inconsistent ambiguity\n", at.m_mjd,
                            at.m_sod, at.m_station, at.m_cprn(), at.m_name(static_cast<int>(clean - votes)));
    return;
  }
  std::fill(slip, slip + kFreq, static_cast<int>(kSlipNone));
  for (int f = 0; f < n; ++f) {
    if (votes[f] > 0) slip[f] = worst;
  }
}

}  // namespace

void QcTurboEdit::m_qcDetectSlip_Df_sat(int mjd, double sod, int isat, const char* station, const double* obs,
                                        double elev, QcSlip* sm, int* slip, const SlipExpectation& expected) {
  const int isys = index_sys(false, isat);
  if (isys < 0) return;
  const Deploy& deploy = s_config();
  const Context at{mjd, sod, isat, isys, station, elev, deploy, expected};
  const int n = std::clamp(deploy.m_nfreqObs[isys], 0, kFreq);
  int votes[kFreq] = {};
  s_flagGaps(at, n, obs, sm, slip, votes);
  s_testPairs(at, n, obs, sm, slip, votes);
  s_attribute(at, n, votes, slip);
  for (int f = 0; f < n; ++f) {
    if (obs[f] != 0.0) sm[f].m_tlast = mjd + sod / kDay;
  }
}

void QcTurboEdit::m_qcDetectSlip_Sf_sat(int mjd, double sod, int isat, const char* station, const double* obs,
                                        double elev, QcSlip* sm, int* slip) {
  std::fill(slip, slip + kFreq, static_cast<int>(kSlipNone));
  const int isys = index_sys(false, isat);
  // Without a code the difference does not exist; the record waits for the next pair of values.
  if (isys < 0 || obs[0] == 0.0 || obs[kFreq] == 0.0) return;
  const Deploy& deploy = s_config();
  const Context at{mjd, sod, isat, isys, station, elev, deploy};
  const double lambda = kLight / freqbytp(isat, at.m_name(0));
  const double difference = obs[0] - obs[kFreq] / lambda;
  const double dt = std::fabs(timdif(mjd, sod, sm[0].m_mjd, sm[0].m_sod));
  const double change = std::fabs(difference - sm[0].m_dpr);
  const double limit = deploy.m_turboedit[0] * std::sqrt(dt);
  const bool gap = dt > deploy.m_turboedit[2];
  if (gap || change > limit) {
    std::fill(slip, slip + std::clamp(deploy.m_nfreqUsed[isys], 0, kFreq), static_cast<int>(kSlipSingle));
    if (gap) {
      Logtrace::m_logtagTrace("SLIP", "[%d %8.1lf] [%s %s] reset as new ambiguity since gap\n", mjd, sod,
                              station, at.m_cprn());
    } else {
      // One frequency has no geometry-free value: its pair of numbers is zero.
      Logtrace::m_logtagTrace("SLIP",
                              "[%d %8.1lf] [%s %s] new ambiguity: (c)%6.2lf vs (m)%6.2lf(dpr) "
                              "(c)%6.2lf vs (m)%6.2lf(dtec) %7.2lf(elev) %8.1lf(dt)\n",
                              mjd, sod, station, at.m_cprn(), change, limit, 0.0, 0.0, elev * kRadToDeg, dt);
    }
  }
  sm[0].m_mjd = mjd;
  sm[0].m_sod = sod;
  sm[0].m_dpr = difference;
}

}  // namespace tarvio
