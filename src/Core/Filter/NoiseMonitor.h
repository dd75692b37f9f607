#pragma once
/// \file NoiseMonitor.h
/// What the observations of this receiver are worth, learnt from themselves.
///
/// Codes: code minus phase, twice the ionosphere of two phases put back, is the code's error and a constant.
/// Phases: ionosphere-free residuals of the float solution with the ambiguity left in; what changes between
/// two epochs, less position, clocks and zenith delay, is the phases' error. The differences over several
/// lags give a white and a slow part (LagStatistics.h) for bands of elevation, of each system and frequency
/// for the codes, of all together for the phases. They begin with the configured values, which rise towards
/// the horizon as 1/s_elevationFactor.
///
/// Observations are then weighted by the information that they hold in the long run: a receiver is neither
/// taken for better than it is, nor do a hundred correlated epochs count as a hundred.

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <map>
#include <vector>

#include "Config/NoiseSettings.h"
#include "Core/Filter/CodeResiduals.h"
#include "Core/Filter/LagStatistics.h"
#include "Core/Filter/SignalStrength.h"
#include "Core/Qc/QcTurboEdit.h"
#include "Records/Station.h"

namespace tarvio {

class SrifFilter;

class NoiseMonitor {
 public:
  bool m_isOn() const;
  /// Takes the codes of the epoch, once its slips are known, and replaces the weights of the rows.
  /// \param tick_s  interval of the filter
  void m_weigh(Station& sta, double mjd, double sod, double tick_s);
  /// Takes the phases of the epoch from the float solution.
  void m_learnPhases(const SrifFilter& filter);
  /// Takes the residuals of the codes from the float solution.
  void m_learnResiduals(const SrifFilter& filter);

  /// Sigma of a single observation, m; of an IF row by its first slot.
  double m_instant(int isys, int slot, int kind, double elev) const;
  /// What the test for slips may take for granted; nothing when the weights are those of the configuration or
  /// the elevation is unknown.
  SlipExpectation m_slipExpectation(int isat, double t, double elev) const;
  /// Size of a residual in sigmas of its row that is to be expected: a row is weighted by less than its
  /// epoch's sigma says, and a quiet quarter of an hour does not make every millimetre an outlier.
  double m_expectedShare(int isys, int slot, int kind, double elev) const;
  /// Sigma by which rows are weighted.
  double m_effective(int isys, int slot, int kind, double elev) const;
  /// Change of a satellite's slant ionosphere as its phases show it, m/sqrt(s) on slot 0, of the last
  /// minutes.
  double m_ionosphereChange(int isat) const {
    return std::sqrt(std::max(m_ionosphere[isat].steps, m_ionosphere[isat].trend));
  }
  NoiseLevel m_level(int isys, int slot, int kind, double elev) const;

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_interval_s, m_last, m_arcs, m_ionosphere, m_doubt, m_codes, m_residuals, m_strength, m_phases);
    a(m_codeBands, m_allCodes, m_allPhases);
  }

 private:
  /// Bands of elevation; levels are those of a band's middle, in between they are interpolated.
  static constexpr int kBands = 6;
  using Levels = std::array<NoiseLevel, kBands>;
  struct Bands {
    LagStatistics whole;  ///< all bands, scaled to the zenith
    std::array<LagStatistics, kBands> statistics;
    Levels level;
    void m_add(int band, int lag, double halfSquare, double weight);
    void m_fit(const Levels& prior);
    /// Prior of the bands from all of them.
    Levels m_scaled(const NoiseLevel& zenith) const { return s_prior(whole.m_fit(zenith)); }
  };
  static int s_band(double elev);
  static Levels s_prior(const NoiseLevel& zenith);

  /// An error with its constant, by time.
  struct Sample {
    double t, value;
  };
  /// Ionosphere-free phases of an epoch.
  struct PhaseEpoch {
    struct Row {
      int isat, isys;
      double value, amplification;  ///< m; of the combination
      double elev, los[3], wet;
      long arc;
    };
    double t = 0.0;
    std::vector<Row> rows;

    template <class Archive>
    void m_fields(Archive& a) {
      a(t, rows);
    }
  };

  /// Phases of two frequencies follow the ionosphere but for a constant.
  struct Ionosphere {
    double t = 0.0, value = 0.0;      ///< s; m
    double steps = 0.0, trend = 0.0;  ///< m^2/s, of successive epochs and of the last minutes
    std::deque<Sample> past;
    double rate = 0.0, rateTime = -1.0;  ///< m/s, of the last minute; s, when it was known last
    long arc = -1;

    template <class Archive>
    void m_fields(Archive& a) {
      a(t, value, steps, trend, past, rate, rateTime, arc);
    }
  };
  void m_followIonosphere(const Ssat_t& sat, int isat, double t);
  void m_learnCode(const Station& sta, int isat, int slot, double t);
  void m_learnPair(const PhaseEpoch& now, const PhaseEpoch& then, int lag);
  void m_refit();
  double m_spacing() const;

  double m_interval_s = 1.0, m_last = 0.0;
  long m_arcs[kMaxSat] = {};  ///< counts the arcs of a satellite
  Ionosphere m_ionosphere[kMaxSat];
  double m_doubt[kMaxSat][kFreq] = {};  ///< factor on the sigma of a code in this epoch
  std::map<int, std::deque<Sample>> m_codes;
  CodeResiduals m_residuals;
  SignalStrength m_strength;
  std::deque<PhaseEpoch> m_phases;
  Bands m_codeBands[kSys][kFreq], m_allCodes, m_allPhases;
};

}  // namespace tarvio
