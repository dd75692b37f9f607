// Records of a host in C as those of the library.

#include "c/records.h"

#include <algorithm>
#include <sstream>

#include "c/objects.h"

namespace gnx::c {

namespace {

/// A word such as "C1C" of a system's list.
void checkSignal(const std::string& word, std::size_t length) {
  if (word.size() != length)
    fail(GNX_BAD_ARGUMENT, "'" + word + "' is no signal of " + std::to_string(length) + " characters");
}

/// "G:C1C,L1C E:C1C,L1C" by system letter.
std::map<char, std::vector<std::string>> signalLists(const std::string& text, std::size_t length) {
  std::map<char, std::vector<std::string>> lists;
  std::istringstream in(text);
  for (std::string system; in >> system;) {
    if (system.size() < 3 || system[1] != ':')
      fail(GNX_BAD_ARGUMENT,
           "'" + system + "' is no list of a system such as G:" + (length == 3 ? "C1C,L1C" : "1C,2W"));
    std::istringstream words(system.substr(2));
    for (std::string word; std::getline(words, word, ',');) {
      checkSignal(word, length);
      lists[system[0]].push_back(word);
    }
  }
  return lists;
}

/// The entry of a satellite in a list, a new one when it is the first.
template <class Entry>
Entry& entryOf(std::vector<Entry>& list, const SatName& sat) {
  for (Entry& entry : list)
    if (entry.sat == sat) return entry;
  list.emplace_back().sat = sat;
  return list.back();
}

}  // namespace

StreamStart startOf(gnx_time first, const char* types, const char* biases, const double* position_m) {
  StreamStart start;
  start.first = timeOf(first);
  start.header.types = signalLists(&required(types, "types"), 3);
  if (biases)
    for (const auto& [system, list] : signalLists(biases, 2))
      start.corrected[system] = {list.begin(), list.end()};
  if (position_m) std::copy_n(position_m, 3, start.header.position.begin());
  return start;
}

BroadcastEph messageOf(const gnx_message* message, std::size_t size) {
  checkArray(&required(message, "message"), size, 1, "message");
  const gnx_message& from = *message;
  BroadcastEph to;
  to.sat = satelliteOf(from.satellite);
  to.toc = timeOf(from.toc);
  to.toe = timeOf(from.toe);
  to.transmission = timeOf(from.transmission);
  std::copy_n(from.af, 3, to.af.begin());
  to.iode = from.iode;
  to.iodc = from.iodc;
  to.health = from.health;
  to.accuracy = from.accuracy;
  to.code = from.code;
  to.l2flag = from.l2flag;
  to.crs = from.crs;
  to.deltaN = from.delta_n;
  to.m0 = from.m0;
  to.cuc = from.cuc;
  to.e = from.e;
  to.cus = from.cus;
  to.sqrtA = from.sqrt_a;
  to.cic = from.cic;
  to.omega0 = from.omega0;
  to.cis = from.cis;
  to.i0 = from.i0;
  to.crc = from.crc;
  to.omega = from.omega;
  to.omegaDot = from.omega_dot;
  to.idot = from.idot;
  std::copy_n(from.tgd, 2, to.tgd);
  return to;
}

GlonassEph messageOf(const gnx_glonass_message* message, std::size_t size) {
  checkArray(&required(message, "message"), size, 1, "message");
  const gnx_glonass_message& from = *message;
  GlonassEph to;
  to.sat = satelliteOf(from.satellite);
  to.toe = timeOf(from.toe);
  to.frame = timeOf(from.frame);
  to.tau = from.tau;
  to.gamma = from.gamma;
  std::copy_n(from.position, 3, to.position.begin());
  std::copy_n(from.velocity, 3, to.velocity.begin());
  std::copy_n(from.acceleration, 3, to.acceleration.begin());
  to.health = from.health;
  to.channel = from.channel;
  to.age = from.age;
  return to;
}

ObsEpoch epochOf(gnx_time time, const gnx_observation* observations, std::size_t size, std::size_t count) {
  checkArray(observations, size, count, "observations");
  ObsEpoch epoch;
  epoch.time = timeOf(time);
  for (std::size_t k = 0; k < count; ++k) {
    const gnx_observation& from = *element(observations, size, k);
    const std::string signal = fieldText(from.signal, "signal");
    checkSignal(signal, 2);
    SignalObs& to = entryOf(epoch.sats, satelliteOf(from.satellite)).signals.emplace_back();
    signal.copy(to.code.data(), 2);
    to.phase = from.phase_cycles;
    to.range = from.range_m;
    to.doppler = from.doppler_hz;
    to.snr = from.snr_dbhz;
    to.lli = from.lock_lost;
  }
  return epoch;
}

CorrectionBatch batchOf(gnx_time delivery, gnx_time tag, const gnx_correction* corrections,
                        std::size_t correctionSize, std::size_t correctionCount, const gnx_bias* biases,
                        std::size_t biasSize, std::size_t biasCount) {
  checkArray(corrections, correctionSize, correctionCount, "corrections");
  checkArray(biases, biasSize, biasCount, "biases");
  CorrectionBatch batch;
  batch.delivery = timeOf(delivery);
  batch.tag = batch.biasTag = timeOf(tag);
  for (std::size_t k = 0; k < correctionCount; ++k) {
    const gnx_correction& from = *element(corrections, correctionSize, k);
    OrbitClockCorrection& to = batch.orbitClock.emplace_back();
    to.sat = satelliteOf(from.satellite);
    to.iod = from.iod;
    std::copy_n(from.orbit_m, 3, to.deph.begin());
    std::copy_n(from.orbit_mps, 3, to.ddeph.begin());
    std::copy_n(from.clock, 3, to.dclk.begin());
  }
  batch.newBiases = biasCount > 0;
  for (std::size_t k = 0; k < biasCount; ++k) {
    const gnx_bias& from = *element(biases, biasSize, k);
    const std::string signal = fieldText(from.signal, "signal");
    checkSignal(signal, 2);
    SatBiases& satellite = entryOf(batch.biases, satelliteOf(from.satellite));
    (from.is_phase ? satellite.phase : satellite.code)
        .push_back({signal, from.value_m, 0, 0, from.discontinuity});
  }
  return batch;
}

}  // namespace gnx::c
