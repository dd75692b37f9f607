#pragma once
/// \file adapt.h
/// From records of the outside world to the records of the boundary (GNX_IO.h): every duty of a host that
/// feeds the engine itself, one function each. An Engine does all of this by itself.
///
/// | duty                                                  | what does it                                   |
/// |-------------------------------------------------------|------------------------------------------------|
/// | numbers of satellites and codes                       | BoundaryNumbers                                |
/// | one signal a band, the one that is corrected          | SignalPlan                                     |
/// | the station                                           | stationRecord                                  |
/// | GPS messages off the 300-s grid of the time of clock  | moveClockToGrid, MessageStore (ephemeris.h)    |
/// | the message to which a correction should refer        | MessageStore::pick (ephemeris.h)               |
/// | the Earth's rotation in QZSS messages                 | matchEarthRotation                             |
/// | satellite clocks of BeiDou, which refer to B3I        | broadcastClock (ephemeris.h), clockCorrection  |
/// | orbits and clocks carried to a common time            | carriedTo (corrections.h)                      |
/// | corrections of messages that the engine does not hold | moveToMessage (corrections.h)                  |
/// | code biases of reference signals, which are 0         | boundaryCodeBias                               |
/// | half a cycle of wind-up of GPS IIR and III            | windUpCycles, reversedSatellites               |
/// | changes and discontinuities of phase biases           | PhaseArcs                                      |
/// | biases estimated without satellite antenna offsets    | makeUpForOffsets                               |
/// | patterns of antennas, without PCV_APPLY               | AntennaPatterns, PatternCorrector              |
/// | attitudes of a product                                | AttitudeCorrector                              |
/// | maps of the ionosphere                                | IonosphereCorrector                            |
/// | GLONASS clocks with the sign of TauN                  | toBoundary                                     |
///
/// ProductFeed and ObservationFeed put them together.

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "GNX_IO.h"
#include "gnx/account.h"
#include "gnx/attitude.h"
#include "gnx/deployment.h"
#include "gnx/ionosphere.h"
#include "gnx/records.h"

namespace gnx {

// ---- times, numbers ----

GNX_IO::gtime_t toBoundaryTime(const GpsTime& t);

/// Numbers of satellites and observation codes in the numbering of the companion functions.
class BoundaryNumbers {
 public:
  BoundaryNumbers();
  /// 0 for no satellite, or no code.
  int satellite(const SatName& name) const;
  int code(const std::string& signal) const;

 private:
  std::map<std::string, int> satellites_, codes_;
};

/// The station as the engine is told of it: what the settings say, else what the receiver's header says.
GNX_IO::sta_t stationRecord(const RunSettings& settings, const ObsHeader& header);

// ---- signals ----

/// A signal that is handed over.
struct PlannedSignal {
  std::string code;   ///< signal of the pseudorange, "1W"; the name that the engine sees
  std::string phase;  ///< signal of the carrier phase, "1C" where the receiver gives no L1W
  std::string bias;   ///< its name in the corrections, "" when they carry none
};

/// Which signal of the receiver goes into each band of the engine, and under which name its biases
/// are found in the corrections.
///
/// The engine keeps one signal a band, and a code bias belongs to a signal: mixing C1C and C1W within
/// a system costs decimetres. So one signal a band is chosen for the whole run: the one to which the
/// corrections refer.
class SignalPlan {
 public:
  struct Request {
    std::map<char, std::string> bands;                  ///< by system letter, band digits: "12"
    std::map<char, std::vector<std::string>> received;  ///< observation types of the file: "C1C"
    std::map<char, std::set<std::string>> corrected;    ///< signals with code biases; empty: products without
    std::map<char, std::vector<std::string>> forced;    ///< user's choice by system, "1W"
  };

  /// Throws UsageError when a forced signal is not in the file, or on no observed frequency.
  explicit SignalPlan(const Request& request);

  /// Planned signals of a system letter, at most five.
  const std::vector<PlannedSignal>& of(char system) const;
  /// One line a system, for the log.
  std::string describe() const;
  /// Systems whose bands could not all be served, with the reason.
  const std::vector<std::string>& warnings() const { return warnings_; }

 private:
  static void checkForced(const Request& request);
  void planSystem(char system, const Request& request);

  std::map<char, std::vector<PlannedSignal>> signals_;
  std::vector<std::string> warnings_;
};

// ---- messages ----

/// Makes the engine's evaluation of a QZSS message that of its document. The engine turns QZSS orbits with
/// 7.292115e-5 rad/s, IS-QZSS-PNT with 7.2921151467e-5: 17 to 37 m along the orbit late in a week. The
/// difference goes into the rate of the node and into the node itself. Messages of other systems stay.
void matchEarthRotation(BroadcastEph& eph);

/// A message as the engine takes it, matchEarthRotation() included. Its clock must be on the grid.
GNX_IO::eph_entry_t toBoundary(const BroadcastEph& eph, const BoundaryNumbers& numbers);
/// The boundary carries the transmitted TauN, the clock value is its negative.
GNX_IO::geph_entry_t toBoundary(const GlonassEph& eph);

/// A satellite clock of a product as a correction of a broadcast message, m. Both are on the product's pair
/// of signals: the message is evaluated by broadcastClock(), which moves clocks of BeiDou from B3I to
/// B1I/B3I.
double clockCorrection(double clock, const BroadcastEph& eph, const GpsTime& t);

// ---- biases ----

/// The bias that serves a planned signal; null when there is none.
const SsrBias* codeBiasOf(const PlannedSignal& signal, const SatBiases& biases);
/// That of the phase's own signal, else of the code's, else of a signal that shares its components.
const SsrBias* phaseBiasOf(char system, const PlannedSignal& signal, const SatBiases& biases);

/// The engine takes exactly 0 as "no code bias" and drops the signal; a reference signal, whose bias is 0 by
/// definition, gets a billionth of a metre instead.
float boundaryCodeBias(double bias_m);

/// Whether the engine takes the body axes x and y of a block opposite to the convention of the IGS
/// (Montenbruck et al. 2015, Adv. Space Res. 56): GPS blocks IIR and III.
bool hasReversedAxes(const std::string& block);
/// Satellites of such blocks at a time.
std::set<SatName> reversedSatellites(const std::vector<SatelliteRecord>& rows, const TableTime& now);
/// Cycles of every carrier that the engine's wind-up of a satellite is beside that of everybody else; phase
/// biases make up for it. The same number on every frequency: no change of wide-lanes, as many cycles of
/// narrow-lane.
inline double windUpCycles(bool reversedAxes) { return reversedAxes ? 0.5 : 0.0; }

/// Distance of the phase centre from the centre of mass towards the Earth, m, by band digit.
using PhaseCentreHeights = std::map<SatName, std::map<char, double>>;

/// Heights of the satellites of an antenna file at a date.
PhaseCentreHeights phaseCentreHeights(const std::filesystem::path& antex, const GpsTime& date);

/// What the offsets of two bands add to the wide-lane, cycles, in the middle of the nadir angles under which
/// satellites are seen; 0 unless both are known. The engine refers codes and phases of each frequency to the
/// satellite's centre of mass by that frequency's own offset, which moves the Melbourne-Wuebbena combination
/// by
///     2 f1 f2 / (f1^2 - f2^2) (z1 - z2) cos(nadir) / L,   L = c/(f1 - f2),
/// 0.1 to 0.5 cycle for Galileo E1 and E5a.
double wideLaneOfOffsets(char system, const std::map<char, double>& heights, char first, char second);

/// Makes up for the offsets of the first two bands in phase biases that were estimated from observations as
/// they come, without satellite antenna offsets, such as the wide-lanes in the headers of integer clocks: a
/// change of the wide-lane that leaves the ionosphere-free phase unchanged. A satellite without two such
/// bands stays as it is.
void makeUpForOffsets(SatBiases& biases, const std::map<char, double>& heights);
/// The same for all satellites of a new set of biases.
void makeUpForOffsets(CorrectionBatch& batch, const PhaseCentreHeights& heights);

/// What streams of phase biases do to carrier phases beyond a constant of each arc.
///
/// A phase bias that changes goes with its clock: phase plus bias belongs to the clock, the phase alone
/// drifts away from it, by decimetres in a quarter of an hour where a provider leaves what its clocks lack to
/// the biases. That holds for float ambiguities too, which are constants of their arcs. So the engine gets
/// the bias with which an arc began, and the phases get what the bias has changed since. Biases that stay the
/// same change nothing.
///
/// Where the biases of a system run like that, a phase without one drifts away from its clock unseen, and its
/// satellite does more harm than good. Nor are integers to be believed: biases that are half a minute old are
/// off by a tenth of a cycle of narrow-lane, in all epochs of a search alike.
///
/// A provider counts the discontinuities of each phase bias: behind one, the integers of that signal are
/// others. The boundary has no call that ends an arc. What it offers is a slip: from the next epoch on the
/// host adds a thousand whole cycles to the signal's phase, or takes them off again, the engine finds the
/// jump and begins a new arc. Whole cycles leave everything else as it is.
///
/// Written by the thread of the corrections, read by that of the epochs.
class PhaseArcs {
 public:
  /// Takes note of a signal's phase bias, m, valid from `t` on, and its discontinuity counter. A counter of
  /// -1 is unknown: nothing tells a drift from a new beginning then, and the bias counts as constant. \return
  /// the bias, m, that belongs to phases to which shift() is added
  double note(const SatName& sat, const std::string& signal, double bias_m, int counter, const GpsTime& t);
  /// Another arc of a signal begins, as its receiver says.
  void begin(const SatName& sat, const std::string& signal);
  /// Cycles to be added to a signal's phase: what its bias has changed, and whole cycles for new arcs.
  double shift(const SatName& sat, const std::string& signal) const;
  /// Whether the biases of any system run away from where their arcs began, by decimetres in an hour.
  bool biasesRun() const;
  /// Whether those of the signal's system run, and this signal has none, or none of the last minute of
  /// biases.
  bool adrift(const SatName& sat, const std::string& signal) const;

  /// One signal's.
  struct Arc {
    int counter = 0;
    bool shifted = false;
    double first_m = 0.0, change_m = 0.0;
    GpsTime begin, last;
  };
  /// What is known of all of them, for a run that goes on where another has ended.
  struct State {
    std::map<std::pair<SatName, std::string>, Arc> arcs;
    std::map<char, GpsTime> newest;  ///< biases of a system
    std::set<std::pair<SatName, std::string>>
        turned{};  ///< signals whose receiver began an odd number of arcs
    std::set<std::pair<SatName, std::string>> unheard{};  ///< signals without a bias since take()
  };
  State state() const;
  /// Goes on where another run has ended. A bias that has jumped since begins an arc: its provider may have
  /// begun anew, its counter as before.
  void take(State state);

 private:
  bool running(char system) const;

  mutable std::mutex mutex_;
  State state_;
};

// ---- antennas ----

struct AntexBlock;

/// Pattern of one frequency: the mean over all azimuths, and rows by azimuth where the file has them.
struct AntennaPattern {
  double first = 0.0, step = 5.0;         ///< zenith or nadir angle, degrees
  std::vector<double> values;             ///< m
  double azimuthStep = 0.0;               ///< degrees; 0: no rows
  std::vector<std::vector<double>> rows;  ///< m, from north clockwise, 360 degrees included

  /// Mean over the azimuths: linear between the nodes, the end value outside; 0 without nodes.
  double at(double degrees) const;
  /// Linear in both angles; the mean without rows.
  double at(double degrees, double azimuthDeg) const;
};

/// Phase-centre patterns of receiver and satellite antennas.
///
/// The engine applies patterns itself where the deployment says so (key "pcv", PCV_APPLY: what "gnx init"
/// writes). Elsewhere a host takes them off phases and codes before the engine sees them: left out they cost
/// 2 to 3 cm of height with a choke ring antenna.
///
/// Reference: Rothacher, Schmid: ANTEX, the antenna exchange format, version 1.4, 2010: an observed
/// distance is longer than the one to the mean phase centre by the pattern's value.
class AntennaPatterns {
 public:
  /// \param antex  antenna file, that of the deployment
  /// \param receiver  20-character type with radome; \param date  of the data
  AntennaPatterns(const std::filesystem::path& antex, const std::string& receiver, const GpsTime& date);
  AntennaPatterns(const std::vector<AntexBlock>& blocks, const std::string& receiver, const GpsTime& date);

  /// What the pattern adds to a distance, m; 0 where the file has none. A frequency that the file does not
  /// have takes the pattern of the nearest one that it has.
  double receiver(char system, char band, double zenithDeg, double azimuthDeg) const;
  double satellite(const SatName& sat, char band, double nadirDeg) const;

 private:
  using Patterns = std::map<std::string, AntennaPattern>;  ///< by ANTEX frequency code, "G01"
  static const AntennaPattern* find(const Patterns& patterns, char system, char band);

  Patterns m_receiver;
  std::map<SatName, Patterns> m_satellites;
};

/// Takes the patterns off the observations of a run. Elevation and nadir angle come from broadcast orbits and
/// a position good to a kilometre.
class PatternCorrector {
 public:
  /// Without a position (all zero) nothing is corrected. `messages` must outlive the corrector.
  PatternCorrector(AntennaPatterns patterns, const MessageStore& messages, const Vector3& position);
  void apply(ObsEpoch& epoch) const;
  bool active() const { return m_active; }

 private:
  AntennaPatterns m_patterns;
  const MessageStore& m_messages;
  Vector3 m_position, m_up{}, m_east{}, m_north{};
  bool m_active;
};

/// Makes observations those of satellites that fly as the engine thinks, from such that fly as a product
/// says: takes off the phases what the wind-up differs, and off phases and codes what the offsets of the
/// satellite's antenna do along the line of sight.
///
/// The engine has laws of its own for noon and midnight; for the satellites of the product it is asked to fly
/// its model without them (engineOptions()), nominal yaw or orbit-normal, which both sides know to 0.01
/// degrees. Wind-up counts whole turns from epoch to epoch, so that every epoch that the engine processes
/// must pass here.
class AttitudeCorrector {
 public:
  struct Satellite {
    std::map<char, Vector3> offsets;  ///< antenna against centre of mass, body axes, m, by band digit
    bool orbitNormal = false;         ///< what it flies in the engine, else nominal yaw
  };
  /// Satellites of a deployment at a date; without offsets where orbits refer to the antennas.
  static std::map<SatName, Satellite> satellitesOf(const Deployment& deployment, const GpsTime& date);

  /// `messages` must outlive the corrector.
  AttitudeCorrector(std::shared_ptr<const AttitudeProduct> attitudes, std::map<SatName, Satellite> satellites,
                    const MessageStore& messages);

  /// Output options that the engine needs, in front of others.
  std::string engineOptions() const;
  /// Where the receiver is, to 10 km or so; epochs from before it is known stay as they are.
  void moveTo(const Vector3& position) { m_position = position; }
  void apply(ObsEpoch& epoch);

  /// Wind-up of a satellite in the engine and by the product, cycles.
  struct WindUps {
    double engine = 0.0, product = 0.0;
  };
  /// For a run that goes on where another has ended.
  const std::map<SatName, WindUps>& state() const { return m_windUps; }
  void take(std::map<SatName, WindUps> state) { m_windUps = std::move(state); }

 private:
  void apply(SatObs& sat, const GpsTime& t);
  double turnedBy(const SatName& sat, double engine, double product);

  std::shared_ptr<const AttitudeProduct> m_attitudes;
  std::map<SatName, Satellite> m_satellites;
  const MessageStore& m_messages;
  Vector3 m_position{};
  std::map<SatName, WindUps> m_windUps;
};

/// Wind-up of a right-hand circularly polarised signal, cycles in [-0.5, 0.5] (Wu et al. 1993, Manuscripta
/// Geodaetica 18), as the engine counts it. \param line  satellite minus receiver, m
double windUp(const BodyAxes& satellite, const Vector3& line, const Vector3& receiver);

/// Takes the slant delays of maps off the codes and puts them on the phases, so that what the engine
/// estimates as the ionosphere is what the maps lack. Maps tell something only where a new slant delay of the
/// deployment is not free (key "ionpri", ION_WALK with some metres).
///
/// A slant delay belongs to codes without differential biases. Where the corrections leave those of the
/// satellites in the codes, the biases that come with the maps are taken off, of codes and phases alike: they
/// are like a content that stays the same, so that wide-lanes and ionosphere-free combinations are as before.
class IonosphereCorrector {
 public:
  /// `messages` must outlive the corrector.
  IonosphereCorrector(std::shared_ptr<const IonosphereMaps> maps, const MessageStore& messages);

  /// Where the receiver is, to 10 km or so; epochs from before it is known stay as they are.
  void moveTo(const Vector3& position) { m_position = position; }
  /// Biases of the corrections: a satellite whose two codes differ has its differential bias in them.
  void note(const std::vector<SatBiases>& biases);
  void apply(ObsEpoch& epoch) const;

 private:
  double contentOfBias(const SatName& sat) const;

  std::shared_ptr<const IonosphereMaps> m_maps;
  const MessageStore& m_messages;
  Vector3 m_position{};
  std::set<SatName> m_carried;  ///< satellites whose differential bias comes with the corrections
};

// ---- feeding ----

/// The entry points of an engine, wherever it runs.
class Boundary {
 public:
  virtual ~Boundary() = default;
  virtual void inputMessage(int sat, const GNX_IO::eph_entry_t& eph) = 0;
  virtual void inputMessage(int sat, int prn, const GNX_IO::geph_entry_t& eph) = 0;
  /// An array of kMaxSatellite; what is marked is taken, and the marks are consumed.
  virtual void inputCorrections(GNX_IO::ssr_t* ssr) = 0;
  virtual void inputBiases(GNX_IO::ssr_t* ssr) = 0;
  virtual void inputEpoch(const GNX_IO::gtime_t& time, std::span<GNX_IO::obs_entry_t> entries) = 0;
};

/// Those of the engine that is linked to this process (GNX_SDK.h). Used by one thread; several that feed have
/// one each.
class LinkedBoundary : public Boundary {
 public:
  LinkedBoundary();
  void inputMessage(int sat, const GNX_IO::eph_entry_t& eph) override;
  void inputMessage(int sat, int prn, const GNX_IO::geph_entry_t& eph) override;
  void inputCorrections(GNX_IO::ssr_t* ssr) override;
  void inputBiases(GNX_IO::ssr_t* ssr) override;
  void inputEpoch(const GNX_IO::gtime_t& time, std::span<GNX_IO::obs_entry_t> entries) override;

 private:
  std::vector<GNX_IO::eph_entry_t> m_eph;
  std::vector<GNX_IO::geph_entry_t> m_glonass;
};

/// Feeds ephemerides and corrections; used by one thread.
class ProductFeed {
 public:
  /// \param reversed  reversedSatellites()
  /// \param sourceHasCodeBiases  false: corrections without any; reference signals are then taken as given
  ProductFeed(Boundary& boundary, const BoundaryNumbers& numbers, const SignalPlan& plan,
              std::set<SatName> excluded, std::set<SatName> reversed, bool sourceHasCodeBiases);

  /// Holds back the phase biases of satellites: without them the engine leaves the ambiguities float.
  void keepFloat(std::set<std::string> names) { floating_ = std::move(names); }
  /// Where changes and discontinuities of phase biases are noted; it must outlive the feed.
  void notePhaseBiases(PhaseArcs& arcs) { arcs_ = &arcs; }

  void feed(const BroadcastEph& eph);
  void feed(const GlonassEph& eph);
  void feed(const CorrectionBatch& batch);

 private:
  void feedOrbitClock(const CorrectionBatch& batch);
  void feedBiases(const CorrectionBatch& batch);
  bool setCodeBiases(GNX_IO::ssr_t& ssr, char system, const SatBiases* biases) const;
  bool setPhaseBiases(GNX_IO::ssr_t& ssr, const SatName& sat, const SatBiases* biases,
                      const GpsTime& tag) const;

  Boundary& boundary_;
  const BoundaryNumbers& numbers_;
  const SignalPlan& plan_;
  std::set<SatName> excluded_, reversed_;
  std::set<std::string> floating_;
  PhaseArcs* arcs_ = nullptr;
  bool sourceHasCodeBiases_;
  std::vector<GNX_IO::ssr_t> ssr_;
  std::set<SatName> referenceGiven_;  ///< satellites whose reference signals have their tiny bias
};

/// Feeds observations; the epoch thread's.
class ObservationFeed {
 public:
  ObservationFeed(Boundary& boundary, const BoundaryNumbers& numbers, const SignalPlan& plan,
                  std::set<SatName> excluded);
  /// Shifts phases whose biases have changed or become discontinuous; `arcs` must outlive the feed.
  void shiftArcs(const PhaseArcs& arcs) { arcs_ = &arcs; }
  /// Processes one epoch in the engine.
  void feed(const ObsEpoch& epoch);
  /// What came in so far and what was left out on this side of the boundary.
  const RunAccount& account() const { return account_; }
  /// Satellites handed over in the last epoch.
  int satellites() const { return static_cast<int>(entries_.size()); }

 private:
  bool convert(const SatObs& sat, GNX_IO::obs_entry_t& entry) const;
  bool adrift(const SatObs& sat) const;
  /// \param leftOut  reason why the satellite is not handed over, null when it is
  void count(const SatObs& sat, const char* leftOut, const GNX_IO::obs_entry_t& entry);

  Boundary& boundary_;
  const BoundaryNumbers& numbers_;
  const SignalPlan& plan_;
  std::set<SatName> excluded_;
  const PhaseArcs* arcs_ = nullptr;
  std::vector<GNX_IO::obs_entry_t> entries_;
  RunAccount account_;
};

}  // namespace gnx
