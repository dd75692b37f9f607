#pragma once
/// \file frame_records.h
/// Members of the records that travel in frames.

#include "engine/engine_core.h"
#include "engine/frames.h"

namespace gnx {

template <class Archive>
void fields(Archive& a, EngineCore::Start& s) {
  a(s.mode, s.station, s.cutoff_deg, s.interval_s, s.clock, s.outputOptions, s.logBytes, s.biasHistory_s);
}

template <class Archive>
void fields(Archive& a, PhaseArcs::State& s) {
  a(s.arcs, s.newest, s.turned);
}

template <class Archive>
void fields(Archive& a, EngineEvent& e) {
  a(e.time, e.name, e.values);
}

template <class Archive>
void fields(Archive& a, ValueFate& v) {
  a(v.fate, v.residual_m, v.floatResidual_m, v.sigma_m);
}

template <class Archive>
void fields(Archive& a, BandSolution& b) {
  a(b.band, b.signal, b.snr_dBHz, b.code, b.phase, b.ambiguity);
}

template <class Archive>
void fields(Archive& a, SatelliteSolution& s) {
  a(s.sat, s.azimuth_deg, s.elevation_deg, s.bands, s.ionosphere);
}

template <class Archive>
void fields(Archive& a, IntegerSolution& i) {
  a(i.level, i.satellite, i.reference, i.bands, i.value, i.integer);
}

template <class Archive>
void fields(Archive& a, EpochAccount& e) {
  a(e.system, e.values, e.fates);
}

template <class Archive>
void fields(Archive& a, Solution& s) {
  a(s.time, s.state, s.reason, s.why, s.position, s.covariance, s.rows, s.satelliteCounts, s.fixed, s.ratio,
    s.sigma0, s.dop, s.clocks, s.zenith, s.ages, s.levels, s.satellites, s.integers, s.account,
    s.milliseconds);
}

/// A record of corrections with its place in the array.
struct IndexedCorrection {
  std::int32_t index = 0;
  GNX_IO::ssr_t record{};
};

}  // namespace gnx
