#pragma once
/// \file observer.h
/// What the simulated receiver measures, and the truth behind every number.
///
/// Model of a measurement at the receiver's time tag T, reception at GPS time t = T - dtr:
///
///     range = rho + shapiro + c (dtr - dts) + isb + T_slant + I_f - b_f + beta_f + noise
///     phase = rho + shapiro + c (dtr - dts) + isb + T_slant - I_f - B_f + delta_f + noise
///             + wavelength (windup + N)
///
/// rho: from the satellite (its antenna phase centre, or its centre of mass and then less the component of
/// the antenna offset along the line of sight) at emission, turned with the Earth during the travel time, to
/// the antenna of the receiver at reception; the antenna is the marker, moved by the tides, plus the
/// eccentricity. dts: clock of the satellite plus -2 r.v/c^2. shapiro: 2 GM/c^2 logarithm of Ashby (2003),
/// eq. 61. b_f, B_f: biases of the satellite's signal (constellation.h). isb, beta_f, delta_f: biases of the
/// receiver, constant; those of a system's first signal are zero but for the phase. N: whole number, constant
/// over an arc. Windup: Wu et al. (1993), with the yaw of attitude.h. In a street (skyline.h) satellites
/// hide, reflections add to both, and locks are lost.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulate/constellation.h"
#include "simulate/faults.h"
#include "simulate/media.h"
#include "simulate/receiver.h"
#include "simulate/skyline.h"

namespace gnx {

struct ObserverOptions {
  Vector3 site{};  ///< marker, earth-fixed, m
  PathOptions path;
  ReceiverClockOptions clock;
  std::array<double, 3> antennaDelta{};  ///< height, east, north above the marker, m
  double maskDegrees = 5.0;
  TroposphereOptions troposphere;
  IonosphereOptions ionosphere;
  double codeSigma = 0.3;                                        ///< white noise of a range at the zenith, m
  double phaseSigma = 0.002;                                     ///< of a phase, m
  double codeMultipath = 0.2;                                    ///< slow error of a range at the zenith, m
  double phaseMultipath = 0.001;                                 ///< of a phase, m
  double codeMultipathTime = 120.0, phaseMultipathTime = 120.0;  ///< their correlation times, s
  /// Diffractive scintillation: noise of the phases, rad on 1575.42 MHz, in inverse proportion to the
  /// frequency, independent from signal to signal and epoch to epoch (Rino 1979, Radio Sci. 14).
  double scintillation = 0.0;
  bool urban = false;              ///< the receiver is in the streets of a town
  double interSystemSigma = 5.0;   ///< receiver bias of a system against the first, m
  double receiverBiasSigma = 0.5;  ///< receiver bias of a signal against the first, m
  bool windup = true, solidTide = true;
  std::array<double, 2> poleOffset{};  ///< x and y of the pole minus the secular pole, arcsec: a pole tide
};

/// Truth of one satellite in one epoch, metres and radians.
struct SatelliteTruth {
  SatName sat;
  double azimuth = 0.0, elevation = 0.0;
  double range = 0.0;       ///< rho
  double relativity = 0.0;  ///< c dts of the periodic term
  double clock = 0.0;       ///< c dts without it
  double shapiro = 0.0, troposphere = 0.0, windupCycles = 0.0;
  double slantContent = 0.0;  ///< TECU
  Sight sight;
  std::map<std::string, double> ambiguity;  ///< cycles by signal, slips included
};

struct EpochTruth {
  GpsTime time;              ///< tag of the receiver
  Vector3 marker{}, tide{};  ///< earth-fixed, m, at reception
  double clock = 0.0;        ///< dtr, s
  ZenithDelay zenith;
  std::vector<SatelliteTruth> satellites;
};

/// Produces the epochs one after the other, in order of time.
class Observer {
 public:
  /// The sky must outlive the observer.
  Observer(const ObserverOptions& options, const Constellation& sky, const FaultList& faults);

  void observe(const GpsTime& tag, ObsEpoch& epoch, EpochTruth& truth);

  double interSystemBias(char system) const { return m_systemBias.at(system); }
  double receiverCodeBias(char system, const std::string& signal) const;
  double receiverPhaseBias(char system, const std::string& signal) const;

 private:
  /// State of one satellite and signal from epoch to epoch.
  struct Channel {
    std::string signal;
    double frequency = 0.0;
    double ambiguity = 0.0;
    double codeError = 0.0, phaseError = 0.0;  ///< multipath
    Random random, scintillation;
    double biasChange = 0.0;  ///< of the faults that change true phase biases, in units of their sigma
  };
  struct Tracker {
    std::vector<Channel> channels;
    std::optional<double> windup;
    GpsTime last;
    bool tracked = false;
    Random random, locks;  ///< of the arcs; of what obstructions do to them
    Sight sight{};
  };
  /// Where the receiver is in its street.
  struct StreetPlace {
    double seconds = 0.0, heading = 0.0, along = 0.0;
  };
  struct Geometry {
    SatelliteState state;  ///< in the axes of reception
    Vector3 antenna{}, antennaVelocity{};
    Vector3 lineOfSight{};  ///< satellite to receiver, unit
    BodyAxes axes;          ///< of the satellite, in the axes of reception
    double range = 0.0;
    GpsTime emission;
  };

  Geometry geometry(std::size_t satellite, const GpsTime& reception, const Vector3& antenna,
                    const Vector3& velocity, const Vector3& sun) const;
  void walkStreet(double seconds);
  StreetPlace streetPlace(double seconds) const;
  bool inSight(Tracker& tracker, SatelliteTruth& truth) const;
  static void loseLock(Tracker& tracker, bool silently);
  double windup(std::size_t satellite, const Geometry& g, const Geodetic& place);
  SatObs measure(std::size_t satellite, const GpsTime& tag, const Geometry& g, const EpochTruth& epoch,
                 SatelliteTruth& truth);
  SignalObs measureSignal(std::size_t satellite, Channel& channel, const GpsTime& tag, const Geometry& g,
                          const EpochTruth& epoch, SatelliteTruth& truth, double step);

  ObserverOptions m_options;
  const Constellation& m_sky;
  const FaultList& m_faults;
  ReceiverPath m_path;
  ReceiverClock m_clock;
  Troposphere m_troposphere;
  Ionosphere m_ionosphere;
  std::optional<Skyline> m_skyline;
  double m_streetAzimuth = 0.0;             ///< of a receiver at rest
  std::vector<StreetPlace> m_streetPlaces;  ///< every second since the last epoch
  std::map<char, double> m_systemBias;
  std::map<std::pair<char, std::string>, std::pair<double, double>> m_signalBias;  ///< code, phase
  std::vector<Tracker> m_trackers;
};

}  // namespace gnx
