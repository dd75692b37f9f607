#pragma once
/// \file read.h
/// Files of the outside world: any file of a kind, recognised by its content, plain or packed (.gz, .Z, .bz2,
/// .xz, .zst, a .zip of one file), as records. "-" is standard input, which every reader reads from its
/// beginning.
///
/// read() merges the files of a run into one stream of events in order of time, which an Engine takes one by
/// one. Readers of one kind are below it. All of them throw an InputError with file, line and field.

#include <array>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "gnx/attitude.h"
#include "gnx/deployment.h"
#include "gnx/error.h"
#include "gnx/integers.h"
#include "gnx/ionosphere.h"
#include "gnx/records.h"

namespace gnx {

// ---- events ----

/// What a stream tells before its first record.
struct StreamStart {
  std::optional<GpsTime> first;  ///< time of the first epoch, when it is known
  ObsHeader header;              ///< receiver, antenna, approximate position, observation types by system
  /// Signals with code biases in the corrections by system letter, "1C"; empty: corrections without biases.
  std::map<char, std::set<std::string>> corrected;
  IntegerPolicy integers;  ///< what the corrections can carry
  /// How satellites point, where a product tells; null: as the engine's laws have it.
  std::shared_ptr<const AttitudeProduct> attitudes{};
  /// What comes off the observations as the ionosphere, so that the engine estimates the rest; null: nothing.
  std::shared_ptr<const IonosphereMaps> ionosphere{};
  std::vector<std::string> notes;  ///< remarks about the files, sentences
};

/// Something that a host has at a time.
struct Event {
  GpsTime time;  ///< when the host has it; records from before the first epoch come with their own times
  std::variant<StreamStart, BroadcastEph, GlonassEph, CorrectionBatch, ObsEpoch> record;
};

// ---- kinds of files ----

/// What a file holds.
enum class FileKind {
  observations,   ///< RINEX 2.00 to 4.02, plain or compact (CRINEX 1 and 3)
  navigation,     ///< RINEX 2.00 to 4.02
  orbits,         ///< SP3 a, b, c, d
  clocks,         ///< RINEX clock 2.00 to 3.04
  biases,         ///< Bias-SINEX 1.00
  corrections,    ///< state-space corrections as text
  antennas,       ///< ANTEX 1.4
  attitudes,      ///< ORBEX 0.09
  ionosphere,     ///< IONEX 1.0, 1.1
  earthRotation,  ///< IGS .erp of versions 1 and 2, finals2000A
  unknown,
};
const char* nameOf(FileKind kind);
/// By the first lines. \throws InputError when the file cannot be read
FileKind kindOf(const std::filesystem::path& file);

/// The files of a run by kind.
struct InputFiles {
  std::vector<std::string> obs, nav;            ///< RINEX
  std::vector<std::string> sp3, clk, bia, ssr;  ///< corrections: products, or a recorded stream
  std::vector<std::string> orbex{}, ionex{};    ///< attitudes, maps of the ionosphere
};
/// Puts files into their places, observations in order of time. \throws InputError for one that is of no kind
/// of these
InputFiles sortByKind(const std::vector<std::string>& files);
/// Observation files by the time of their first epoch.
std::vector<std::string> inOrderOfTime(std::vector<std::string> observationFiles);

// ---- a run ----

struct ReadOptions {
  /// Prepares the corrections for an engine of this deployment: biases that were estimated without satellite
  /// antenna offsets are made up for, and the stream judges whether its corrections carry integers. Without
  /// one, integers are left unresolved when phase biases depend on offsets.
  std::optional<Deployment> deployment{};
  std::optional<GpsTime> from{}, to{};  ///< first and last epoch
  bool broadcastOnly = false;           ///< no corrections: broadcast orbits and clocks as they are
  std::string availability{};           ///< CSV with delivery times of the blocks of the first SSR file
  bool wideLaneBiases = false;          ///< phase biases from the wide-lanes in the header of the clock file
  double sparseClocks_s = 60.0;         ///< clocks further apart serve integers at their own epochs alone
  bool mixedProducts = false;  ///< integers even from products named after different centres or campaigns
};

/// The merged stream of a run.
///
/// Observations come at their time, broadcast messages when they were sent, corrections at their delivery;
/// at equal times messages, corrections, observations. Orbits and clocks of product files are turned into
/// corrections of the broadcast messages that the engine holds; without navigation files messages are fitted
/// to the orbits. Of messages the four hours before the first epoch are delivered, of a backlog of
/// corrections what is not older than five minutes.
class EventStream {
 public:
  EventStream(const InputFiles& files, const ReadOptions& options);
  ~EventStream();
  EventStream(EventStream&&) noexcept;
  EventStream& operator=(EventStream&&) noexcept;

  /// The first event's record.
  const StreamStart& start() const;
  /// False at the end.
  bool next(Event& event);
  /// Share of the stream that is delivered, 0 to 1, by time; 0 when its end is not known.
  double share() const;

  /// For range-based loops, once.
  class Iterator {
   public:
    using value_type = Event;
    using difference_type = std::ptrdiff_t;
    using reference = const Event&;
    using pointer = const Event*;
    using iterator_category = std::input_iterator_tag;

    Iterator() = default;
    explicit Iterator(EventStream& stream) : m_stream(&stream) { ++*this; }
    const Event& operator*() const { return *m_event; }
    const Event* operator->() const { return m_event.get(); }
    Iterator& operator++() {
      if (!m_stream->next(*m_event)) m_stream = nullptr;
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(const Iterator& other) const { return m_stream == other.m_stream; }

   private:
    EventStream* m_stream = nullptr;
    std::shared_ptr<Event> m_event = std::make_shared<Event>();
  };
  Iterator begin() { return Iterator(*this); }
  Iterator end() { return {}; }

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

EventStream read(const std::vector<std::string>& files, const ReadOptions& options = {});
EventStream read(const InputFiles& files, const ReadOptions& options = {});

// ---- one kind ----

/// Observations epoch by epoch (RINEX 2.00 to 4.02, plain or in compact form).
///
/// - Epochs come in GPS time, whatever the file's time system.
/// - Flags 0 and 1 (data; after a power failure, then every phase is marked as slipped) deliver an
///   epoch; the records of events 2 to 5 are read as header lines, so that new observation types
///   hold from there on; slip records (6) are skipped.
/// - Satellites of a system without observation types and unknown types are left out, blank fields
///   and trailing fields that are missing are absent values, scale factors are applied.
/// - Phases are taken as they stand: shifts of the header are already applied by the writer.
/// - Types of version 2 get their RINEX 3 names. L2 goes with P2 where the satellite has it, else with C2;
///   L2C, L5 and Galileo signals get the attribute of the receiver's maker, X where that is not known. The
///   types of the header are then those that the first hundred epochs hold.
class ObservationReader {
 public:
  explicit ObservationReader(const std::string& path);
  ~ObservationReader();
  ObservationReader(ObservationReader&&) noexcept;
  ObservationReader& operator=(ObservationReader&&) noexcept;

  const ObsHeader& header() const;
  /// The next epoch; storage of `epoch` is reused. False at the end of the file.
  bool next(ObsEpoch& epoch);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

/// Blocks of state-space corrections in text form: a header line and n lines, one a satellite.
///
///     > ORBIT 2021 03 19 12 00 00.0 5 18 CLAS     epoch (GPS time), interval indicator, n, source
///     ORBIT       sat IOD radial along cross [m]  rates of the three [m/s]
///     CLOCK       sat IOD C0 [m] C1 [m/s] C2 [m/s^2]
///     CODE_BIAS   sat n  (signal bias[m]) * n
///     PHASE_BIAS  a line with two indicators first; sat yaw[deg] rate[deg/s] n
///                 (signal bias[m] integer wide-lane discontinuity) * n
///
/// Signs and units are those of RTCM SSR. Interval indicator: RTCM 10403.3, DF391.
class CorrectionReader {
 public:
  explicit CorrectionReader(const std::string& path);
  ~CorrectionReader();
  CorrectionReader(CorrectionReader&&) noexcept;
  CorrectionReader& operator=(CorrectionReader&&) noexcept;

  /// The next block of a known kind; storage of `block` is reused. False at the end.
  bool next(SsrBlock& block);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

/// Broadcast messages of RINEX 2.00 to 4.02 navigation files.
///
/// Times come in GPS time (BeiDou + 14 s, GLONASS by leap seconds); seconds of week are placed in the week
/// that puts them nearest to the time of clock, so that a wrong week number does no harm. A transmission time
/// that is blank or given as unknown (0.9999e9) is left at {0, 0}. Up to version 3, SBAS, NavIC and unknown
/// systems are skipped; of version 4 all other records are there as they stand. Blank numbers are 0.
NavData readRinexNav(const std::vector<std::string>& paths);

/// Position in the Earth-fixed frame of the product, m.
struct OrbitPoint {
  GpsTime time;
  Vector3 position{};
};

/// Satellite clock minus system time, s, without the periodic relativistic term.
struct ClockPoint {
  GpsTime time;
  double bias = 0.0;
};

/// Precise orbits.
struct Sp3Product {
  double interval = 0.0;         ///< s; the longest of the files
  std::string agency;            ///< of the first file
  bool broadcastClocks = false;  ///< a header says that the clocks are those of broadcast messages
  std::map<SatName, std::vector<OrbitPoint>> orbits;
  std::map<SatName, std::vector<ClockPoint>> clocks;
};

/// Reads SP3 files and joins them by time; at equal times the later file wins. Missing positions
/// (0) and clocks (999999.999999) are left out; velocity lines and correlations are skipped. A missing EOF
/// line is damage. Reference: S. Hilla, The Extended Standard Product 3 Orbit Format (SP3-d), 2016.
Sp3Product readSp3(const std::vector<std::string>& paths);

/// Reads the attitudes (records ATT) of ORBEX files and joins them by time; at equal times the later file
/// wins. Other records are skipped; attitudes against inertial axes are refused. Reference: ORBEX, the orbit
/// exchange format, version 0.09, 2019.
AttitudeProduct readOrbex(const std::vector<std::string>& paths);

/// Reads IONEX files of maps on one layer and joins them by time; at equal times the later file counts. Maps
/// of deviations and heights are skipped, biases of stations too. Reference: Schaer, Gurtner, Feltens: IONEX,
/// the ionosphere map exchange format, version 1, 1998.
IonosphereMaps readIonex(const std::vector<std::string>& paths);

/// Satellite clocks.
struct ClockProduct {
  double interval = 0.0;  ///< s; the difference found most often between neighbours
  std::map<SatName, std::vector<ClockPoint>> clocks;
  std::string agency;               ///< of the first file that names its centre
  std::vector<std::string> header;  ///< header lines, comments included: some centres keep biases there
};

/// Reads RINEX clock files and joins them by time; at equal times the later file wins. Only the rows of
/// satellites (AS) are used.
/// Reference: RINEX Extensions to Handle Clock Information, versions 3.00 and 3.04 (IGS).
ClockProduct readRinexClocks(const std::vector<std::string>& paths);

/// Reads Bias-SINEX files, rows in order; station biases and ISB rows are skipped. A missing end line
/// (%=ENDBIA) is damage. Reference: S. Schaer, SINEX_BIAS, version 1.00, 2016.
std::vector<BiasRow> readSinexBias(const std::vector<std::string>& paths);

/// The agency whose data the file holds, from its first line; "" when that names none.
std::string sinexBiasAgency(const std::string& path);

/// The marker of a station for a stretch of time: earthquakes and new antennas begin another.
struct StationPosition {
  std::string station;  ///< four characters
  GpsTime from, until;  ///< of the data behind it
  GpsTime epoch;        ///< to which the position refers
  Vector3 position{};   ///< m
  Vector3 velocity{};   ///< m a year
  bool hasVelocity = false;

  Vector3 at(const GpsTime& t) const;
};

/// Coordinates of a station from a SINEX file, of the set whose data contain a time or come nearest to it.
/// The first four characters of the name count. Deformation after earthquakes is not in such files. \throws
/// InputError also when the file has none, or an old position without a velocity
StationPosition readSinexStation(const std::string& path, const std::string& station, const GpsTime& t);

/// Pole and UT1 at an epoch of UTC.
struct EarthRotation {
  double mjd = 0.0;
  double x = 0.0, y = 0.0;   ///< pole, arcsec
  double ut1MinusUtc = 0.0;  ///< s, with the zonal tides
};

/// Earth rotation of the IGS (.erp, versions 1 and 2) or "finals2000A" of the IERS, in order of time;
/// predictions count, days without values are passed over. UT1R gets its tides back, UT1-TAI becomes UT1-UTC.
std::vector<EarthRotation> readEarthRotation(const std::string& path);

}  // namespace gnx
