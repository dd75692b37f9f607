// Merges what a simulation makes into one stream of bytes.

#include "simulate/rtcm_file.h"

#include <fstream>
#include <map>
#include <optional>
#include <utility>

#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/rtcm.h"

namespace gnx {

namespace {

constexpr int kAgesOfData = 32;  ///< of BeiDou: a field of five bits

class StreamWriter {
 public:
  StreamWriter(const std::filesystem::path& file, const std::filesystem::path& observations,
               std::vector<BroadcastEph> messages)
      : m_path(file),
        m_out(file, std::ios::binary),
        m_observations(observations.string()),
        m_messages(std::move(messages)) {
    m_more = m_observations.next(m_epoch);
    write(m_encoder.position({0, m_observations.header().position, 0.0}));
  }

  void take(SsrBlock block) {
    while (m_more && m_epoch.time < block.time) giveEpoch();
    giveMessages(block.time);
    const double middle = block.interval > 1 ? 0.5 * block.interval : 0.0;
    for (SsrOrbit& orbit : block.orbits) m_issues[orbit.sat] = move(orbit, block.time + middle);
    for (SsrClock& clock : block.clocks) clock.c[0] -= clockShift(clock.sat, block.time + middle);
    RtcmSsr ssr;
    ssr.wideLane = block.kind == SsrKind::phaseBias;
    ssr.block = std::move(block);
    write(m_encoder.corrections(ssr));
  }

  void finish() {
    while (m_more) giveEpoch();
    m_out.flush();
    if (!m_out) throw InputError(m_path.string(), 0, "writing failed; check the folder and the free space");
  }

 private:
  /// A message as it is made and as it is sent.
  struct Sent {
    BroadcastEph made, sent;
  };

  void write(const std::vector<std::uint8_t>& bytes) {
    m_out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  void giveEpoch() {
    giveMessages(m_epoch.time);
    write(m_encoder.observations(m_epoch));
    m_more = m_observations.next(m_epoch);
  }

  void giveMessages(const GpsTime& until) {
    while (m_next < m_messages.size() && !(until < m_messages[m_next].transmission)) {
      BroadcastEph& made = m_messages[m_next++];
      if (made.sat[0] == 'C') made.iode %= kAgesOfData;  // which is not its issue of data
      const auto bytes = m_encoder.ephemeris(made);
      RtcmDecoder decoder(
          [&](const RtcmRecord& record) {
            if (const auto* sent = std::get_if<BroadcastEph>(&record))
              m_sent[{made.sat, issueOfData(made)}] = {made, *sent};
          },
          made.toe);
      decoder.feed(bytes);
      write(bytes);
    }
  }

  /// Moves an orbit to its message as it is sent; the message, null when it was not sent yet.
  const Sent* move(SsrOrbit& orbit, const GpsTime& t) const {
    const auto found = m_sent.find({orbit.sat, orbit.iod});
    if (found == m_sent.end()) return nullptr;
    const SatState made = evaluateBroadcast(found->second.made, t);
    const SatState sent = evaluateBroadcast(found->second.sent, t);
    Vector3 difference{};
    for (std::size_t i = 0; i < 3; ++i) difference[i] = sent.position[i] - made.position[i];
    const Vector3 shift = toAxes(orbitAxes(sent), difference);
    for (std::size_t i = 0; i < 3; ++i) orbit.delta[i] += shift[i];
    return &found->second;
  }

  double clockShift(const SatName& sat, const GpsTime& t) const {
    const auto found = m_issues.find(sat);
    if (found == m_issues.end() || found->second == nullptr) return 0.0;
    return kLightSpeed * (broadcastClock(found->second->sent, t) - broadcastClock(found->second->made, t));
  }

  std::filesystem::path m_path;
  std::ofstream m_out;
  RtcmEncoder m_encoder;
  ObservationReader m_observations;
  ObsEpoch m_epoch;
  bool m_more = false;
  std::vector<BroadcastEph> m_messages;
  std::size_t m_next = 0;
  std::map<std::pair<SatName, int>, Sent> m_sent;  ///< by satellite and issue
  std::map<SatName, const Sent*> m_issues;         ///< messages of the last orbits
};

}  // namespace

void writeRtcm(const std::filesystem::path& file, const std::filesystem::path& observations,
               const SimulationOptions& options, const Constellation& sky) {
  StreamWriter writer(file, observations, allMessages(sky));
  forEachCorrection(options, sky, [&](const SsrBlock& block) { writer.take(block); });
  writer.finish();
}

}  // namespace gnx
