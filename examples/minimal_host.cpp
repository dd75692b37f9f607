/// The smallest host of the engine: one station, one broadcast message, one set of corrections, a few
/// epochs. A real host decodes its receiver and its correction stream where this one makes numbers up.
///
///   gnx init .        # writes "ppp.json" and the data files into the working directory
///   g++ -std=c++20 minimal_host.cpp $(pkg-config --cflags --libs gnx-sdk gnx-io) -o minimal_host
///   ./minimal_host

#include <GNX_SDK.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

namespace {

/// Number of a satellite or of a code in the companion's tables, 0 when there is none.
int satelliteNumber(const char* name) {
  for (int sat = 1; sat <= GNX_IO::kMaxSatellite; ++sat) {
    char id[4];
    GNX_IO::satno2id(sat, id);
    if (std::strcmp(id, name) == 0) return sat;
  }
  return 0;
}

std::uint8_t codeNumber(const char* name) {
  for (int code = 1; code <= GNX_IO::kMaxCode; ++code) {
    if (std::strcmp(GNX_IO::code2obs(static_cast<unsigned char>(code)), name) == 0) {
      return static_cast<std::uint8_t>(code);
    }
  }
  return 0;
}

/// A broadcast message: orbits come as broadcast orbits plus corrections, so without messages there is
/// no solution. The table is the host's, element sat-1 with offset 0.
void feedEphemeris(std::vector<GNX_IO::eph_entry_t>& table, int sat, GNX_IO::gtime_t toe) {
  GNX_IO::eph_entry_t& eph = table[static_cast<std::size_t>(sat - 1)];
  eph = {};
  eph.iode = eph.iodc = 17;
  eph.toe = eph.toc = toe;
  eph.A = 26'560'000.0;
  eph.e = 0.01;
  eph.i0 = 0.96;
  GNX_IO::nav_t nav{};
  nav.eph = table.data();
  GNX_inputEph(&nav, sat, 0);
}

/// Corrections of all satellites in one call, with one common time. Everything not marked stays "no
/// news"; the engine sets the marks back as it takes the values over.
void feedCorrections(std::vector<GNX_IO::ssr_t>& table, int sat, GNX_IO::gtime_t tag) {
  for (GNX_IO::ssr_t& element : table) {
    element = {};
    element.mark_orb = element.mark_clk = element.mark_cbias = element.mark_pbias = element.mark_ifpb =
        GNX_IO::kConsumed;
  }
  GNX_IO::ssr_t& ssr = table[static_cast<std::size_t>(sat - 1)];
  ssr.t0_orb = ssr.t0_clk = ssr.t0_cbias = tag;
  ssr.iod = 17;  // the message that the numbers refer to
  ssr.deph[0] = 0.12;
  ssr.dclk[0] = -0.35;
  // A signal without a code bias is thrown away; exactly 0 counts as none.
  for (const char* code : {"1C", "2W"}) ssr.cbias[codeNumber(code) - 1] = 1e-9F;
  ssr.mark_orb = ssr.mark_clk = ssr.mark_cbias = 0;
  ssr.update = 1;
  GNX_inputSsr(table.data());
  GNX_inputSsrBias(table.data());
}

/// One epoch: up to five signals a satellite; the code of a slot that holds nothing stays 0.
void feedEpoch(int sat, GNX_IO::gtime_t time) {
  GNX_IO::obs_entry_t entry{};
  entry.sat = static_cast<std::uint8_t>(sat);
  entry.code[0] = codeNumber("1C");
  entry.P[0] = 22'000'000.0;   // m
  entry.L[0] = 115'609'500.0;  // cycles
  entry.SNR[0] = 45'000;       // 0.001 dB-Hz
  entry.code[1] = codeNumber("2W");
  entry.P[1] = 22'000'002.0;
  entry.L[1] = 90'085'320.0;
  entry.SNR[1] = 38'000;
  GNX_IO::obs_t epoch{1, &entry};
  GNX_inputObs(time, &epoch);  // all processing happens inside this call
}

}  // namespace

int main() {
  GNX_IO::sta_t station{};
  std::snprintf(station.antdes, sizeof station.antdes, "ANTNONE         NONE");
  const double position[3] = {3582105.291, 532589.731, 5232754.805};
  std::memcpy(station.pos, position, sizeof position);

  // Reads "ppp.json"; a fault in it ends the process with a message on standard output.
  GNX_initialize("static", &station, 7.0, 30.0);

  // The engine takes broadcast messages within six hours of the wall clock, their reference time a
  // multiple of 300 s, and works in GPS time.
  constexpr long kGpsMinusUtc = 18;
  const GNX_IO::gtime_t t0{(std::time(nullptr) + kGpsMinusUtc) / 300 * 300, 0.0};
  const int sat = satelliteNumber("G05");
  std::vector<GNX_IO::eph_entry_t> ephemerides(GNX_IO::kMaxSatellite);
  std::vector<GNX_IO::ssr_t> corrections(GNX_IO::kMaxSatellite);

  feedEphemeris(ephemerides, sat, t0);
  for (int k = 0; k < 4; ++k) {
    const GNX_IO::gtime_t time{t0.time + 30 * k, 0.0};
    feedCorrections(corrections, sat, time);
    feedEpoch(sat, time);  // solution lines go to standard output and to the file "ppp_pos"
  }
  GNX_finilize();
  return 0;
}
