#pragma once
/// \file boundary_feed.h
/// Turns records into the boundary's and hands them to the engine.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "GNX_SDK.h"
#include "adapt/phase_arcs.h"
#include "adapt/signal_plan.h"
#include "corrections/correction_source.h"
#include "formats/records.h"
#include "results/account.h"

namespace gnx {

GNX_IO::gtime_t toBoundaryTime(const GpsTime& t);

/// Numbers of satellites and observation codes in the companion's numbering.
class BoundaryNumbers {
 public:
  BoundaryNumbers();
  /// 0 for no satellite, or no code.
  int satellite(const SatName& name) const;
  int code(const std::string& signal) const;

 private:
  std::map<std::string, int> satellites_, codes_;
};

/// Feeds ephemerides and corrections; used by one thread.
class ProductFeed {
 public:
  /// \param reversed  satellites whose wind-up the engine counts half a cycle off the convention of
  /// corrections; their phase biases make up for it
  ProductFeed(const BoundaryNumbers& numbers, const SignalPlan& plan, std::set<SatName> excluded,
              std::set<SatName> reversed, bool sourceHasCodeBiases);

  /// Holds back the phase biases of satellites: without them the engine leaves the ambiguities float.
  void keepFloat(std::set<std::string> names) { floating_ = std::move(names); }
  /// Where discontinuities of phase biases are noted; it must outlive the feed.
  void noteDiscontinuities(PhaseArcs& arcs) { arcs_ = &arcs; }

  void feed(const BroadcastEph& eph);
  void feed(const GlonassEph& eph);
  void feed(const CorrectionBatch& batch);

 private:
  void feedOrbitClock(const CorrectionBatch& batch);
  void feedBiases(const CorrectionBatch& batch);
  bool setCodeBiases(GNX_IO::ssr_t& ssr, char system, const SatBiases* biases) const;
  bool setPhaseBiases(GNX_IO::ssr_t& ssr, const SatName& sat, const SatBiases* biases) const;

  const BoundaryNumbers& numbers_;
  const SignalPlan& plan_;
  std::set<SatName> excluded_, reversed_;
  std::set<std::string> floating_;
  PhaseArcs* arcs_ = nullptr;
  bool sourceHasCodeBiases_;
  std::vector<GNX_IO::eph_entry_t> eph_;
  std::vector<GNX_IO::geph_entry_t> geph_;
  std::vector<GNX_IO::ssr_t> ssr_;
  std::set<SatName> referenceGiven_;  ///< satellites whose reference signals have their tiny bias
};

/// Feeds observations; the epoch thread's.
class ObservationFeed {
 public:
  ObservationFeed(const BoundaryNumbers& numbers, const SignalPlan& plan, std::set<SatName> excluded);
  /// Shifts phases whose biases have become discontinuous; `arcs` must outlive the feed.
  void shiftArcs(const PhaseArcs& arcs) { arcs_ = &arcs; }
  /// Processes one epoch in the engine. \return seconds that the call took
  double feed(const ObsEpoch& epoch);
  /// What came in so far and what was left out on this side of the boundary.
  const RunAccount& account() const { return account_; }
  /// Satellites handed over in the last epoch.
  int satellites() const { return static_cast<int>(entries_.size()); }

 private:
  bool convert(const SatObs& sat, GNX_IO::obs_entry_t& entry) const;
  void count(const SatObs& sat, bool handedOver, const GNX_IO::obs_entry_t& entry);

  const BoundaryNumbers& numbers_;
  const SignalPlan& plan_;
  std::set<SatName> excluded_;
  const PhaseArcs* arcs_ = nullptr;
  std::vector<GNX_IO::obs_entry_t> entries_;
  RunAccount account_;
};

}  // namespace gnx
