#pragma once
/// \file frame_records.h
/// Members of the records that travel in frames.

#include <array>
#include <bit>
#include <cstring>

#include "engine/engine_core.h"
#include "engine/frames.h"
#include "gnx/error.h"

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

/// Records of corrections by satellite, as a frame carries them: of 1.4 kB a satellite only the words that
/// differ from those told last. Host and worker hold the same records.
class CorrectionRecords {
 public:
  /// \param index  of a satellite, below GNX_IO::kMaxSatellite
  const GNX_IO::ssr_t& at(std::size_t index) const { return m_told.at(index); }

  /// Appends what is new of a satellite.
  void tell(FrameWriter& out, std::size_t index, const GNX_IO::ssr_t& record) {
    Words now{}, told{};
    std::memcpy(now.data(), &record, sizeof record);
    std::memcpy(told.data(), &m_told[index], sizeof record);
    Mask changed{};
    for (std::size_t i = 0; i < kWords; ++i)
      changed[i / kBits] |= std::uint64_t{now[i] != told[i] ? 1U : 0U} << (i % kBits);
    out(static_cast<std::uint32_t>(index), changed);
    forEach(changed, [&](std::size_t i) { out(now[i]); });
    m_told[index] = record;
  }

  /// Takes what is new of a satellite. \return its index \throws EngineError for an index beyond the
  /// satellites
  std::size_t take(FrameReader& in) {
    std::uint32_t index = 0;
    Mask changed{};
    in(index, changed);
    if (index >= m_told.size()) throw EngineError("a frame names no satellite; host and worker differ");
    Words words{};
    std::memcpy(words.data(), &m_told[index], sizeof(GNX_IO::ssr_t));
    forEach(changed, [&](std::size_t i) { in(words.at(i)); });
    std::memcpy(&m_told[index], words.data(), sizeof(GNX_IO::ssr_t));
    return index;
  }

 private:
  static constexpr std::size_t kBits = 64, kWords = (sizeof(GNX_IO::ssr_t) + 7) / 8;
  using Words = std::array<std::uint64_t, kWords>;
  using Mask = std::array<std::uint64_t, (kWords + kBits - 1) / kBits>;

  template <class Take>
  static void forEach(const Mask& changed, Take&& take) {
    for (std::size_t k = 0; k < changed.size(); ++k)
      for (std::uint64_t rest = changed[k]; rest != 0; rest &= rest - 1)
        take(k * kBits + static_cast<std::size_t>(std::countr_zero(rest)));
  }

  std::vector<GNX_IO::ssr_t> m_told = std::vector<GNX_IO::ssr_t>(GNX_IO::kMaxSatellite);
};

}  // namespace gnx
