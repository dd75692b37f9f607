#pragma once
/// \file ssr_joiner.h
/// Blocks of corrections joined to batches of one tag, whether they come from a file or from a stream.

#include <map>
#include <vector>

#include "gnx/corrections.h"

namespace gnx {

/// The broadcast messages that corrections may refer to.
class MessageBook {
 public:
  virtual ~MessageBook() = default;
  /// Whether the engine finds the message of an issue of data at t and for a while.
  virtual bool serves(const SatName& sat, int issue, const GpsTime& t) const = 0;
  /// The message of an issue of data, whether the engine holds it or not; null when it is not known.
  virtual const BroadcastEph* find(const SatName& sat, int issue, const GpsTime& t) const = 0;
  /// The message to which corrections for time t should refer; null when there is none.
  virtual const BroadcastEph* pick(const SatName& sat, const GpsTime& t) const = 0;
};

struct SsrJoinOptions {
  double longestOrbit_s = 300.0;  ///< corrections of an orbit are used so long
  double longestClock_s = 60.0;   ///< and those of a clock in the batches of other systems' clocks
  bool halfInterval = true;       ///< polynomials refer to the middle of the update interval (RTCM 10403.3)
};

/// Holds what a provider has sent. A batch is due for every block of clocks; blocks of the same epoch that
/// are delivered with it belong to it. So a caller asks belongs() before apply(), and joins first when a
/// block does not belong to the clocks that wait.
class SsrJoiner {
 public:
  /// \param messages  may be null: corrections stay with the messages that they name; else it must outlive
  /// this
  SsrJoiner(const SsrJoinOptions& options, const MessageBook* messages)
      : m_options(options), m_messages(messages) {}

  /// Whether clocks wait to be joined.
  bool waits() const { return m_waits; }
  /// Whether the block belongs to the batch of the clocks that wait.
  bool belongs(const SsrBlock& block, const GpsTime& delivery) const;
  void apply(const SsrBlock& block, const GpsTime& delivery);
  /// The batch of the clocks that wait. False when there are none, or nothing to hand over.
  bool join(CorrectionBatch& batch);
  /// The next batch holds the biases that are known, whether they are new or not.
  void repeatBiases() { m_newBiases = m_newBiases || !m_code.sats.empty() || !m_phase.sats.empty(); }

 private:
  struct Orbit {
    SsrOrbit correction;
    GpsTime reference;  ///< of the rates
    GpsTime epoch;
  };
  struct Clock {
    SsrClock correction;
    GpsTime reference, epoch;
  };
  struct BiasSet {
    std::map<SatName, std::vector<SsrBias>> sats;
    std::map<char, GpsTime> epochs;  ///< of the systems
    double interval_s = 0.0;
  };

  void applyOrbits(const SsrBlock& block);
  void applyClocks(const SsrBlock& block);
  void applyBiases(const SsrBlock& block, BiasSet& set);
  GpsTime referenceOf(const SsrBlock& block) const;
  void fillOrbitClock(CorrectionBatch& batch) const;
  void fillBiases(CorrectionBatch& batch);
  void moveToHeldMessage(const CorrectionBatch& batch, OrbitClockCorrection& c) const;

  SsrJoinOptions m_options;
  const MessageBook* m_messages;
  bool m_waits = false;
  GpsTime m_tag, m_clockDelivery;                  ///< of the clocks that wait
  GpsTime m_delivery;                              ///< of everything applied
  std::map<SatName, std::vector<Orbit>> m_orbits;  ///< newest first, at most two, of different issues
  std::map<SatName, Clock> m_clocks;
  std::map<char, GpsTime> m_systemClock;  ///< epoch of the latest clocks of a system
  BiasSet m_code, m_phase;
  GpsTime m_biasTag;
  bool m_newBiases = false;
};

}  // namespace gnx
