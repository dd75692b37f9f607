// Writes blocks of corrections as a caster client records them.

#include "formats/ssr_text.h"
#include "gnx/error.h"
#include "gnx/write.h"
#include "text/printed.h"

namespace gnx {

namespace {

const char* kindName(SsrKind kind) {
  switch (kind) {
    case SsrKind::orbit:
      return "ORBIT";
    case SsrKind::clock:
      return "CLOCK";
    case SsrKind::codeBias:
      return "CODE_BIAS";
    default:
      return "PHASE_BIAS";
  }
}

std::string biasLine(const SsrSatBias& sat, bool phase) {
  std::string line = sat.sat;
  if (phase) line += printed("%13.8f%13.8f", sat.yaw, sat.yawRate);
  line += printed("%5zu", sat.biases.size());
  for (const SsrBias& bias : sat.biases) {
    line += printed("%5s%11.4f", bias.signal.c_str(), bias.value);
    if (phase)
      line += printed("%4d%4d%4d", bias.integerIndicator, bias.wideLaneIndicator, bias.discontinuity);
  }
  return line + "\n";
}

}  // namespace

int updateIntervalIndicator(int seconds) {
  int indicator = 0;
  for (std::size_t i = 0; i < kUpdateIntervals.size(); ++i)
    if (kUpdateIntervals[i] <= seconds) indicator = static_cast<int>(i);
  return indicator;
}

std::string ssrText(const SsrBlock& block) {
  const Calendar c = toCalendar(block.time);
  const std::size_t lines = block.kind == SsrKind::orbit   ? block.orbits.size()
                            : block.kind == SsrKind::clock ? block.clocks.size()
                                                           : block.biases.size();
  std::string text = printed("> %s %04d %02d %02d %02d %02d %04.1f %d %zu %s\n", kindName(block.kind), c.year,
                             c.month, c.day, c.hour, c.minute, c.second,
                             updateIntervalIndicator(block.interval), lines, block.source.c_str());
  if (block.kind == SsrKind::orbit) {
    for (const SsrOrbit& o : block.orbits)
      text += printed("%s%5d%11.4f%11.4f%11.4f%13.6f%13.6f%13.6f\n", o.sat.c_str(), o.iod, o.delta[0],
                      o.delta[1], o.delta[2], o.rate[0], o.rate[1], o.rate[2]);
  } else if (block.kind == SsrKind::clock) {
    for (const SsrClock& k : block.clocks)
      text += printed("%s%5d%11.4f%13.6f%15.8f\n", k.sat.c_str(), k.iod, k.c[0], k.c[1], k.c[2]);
  } else {
    const bool phase = block.kind == SsrKind::phaseBias;
    if (phase) text += "   0   1\n";
    for (const SsrSatBias& sat : block.biases) text += biasLine(sat, phase);
  }
  return text;
}

SsrWriter::SsrWriter(const std::filesystem::path& path) : m_path(path), m_out(path, std::ios::binary) {
  if (!m_out) throw InputError(m_path.string(), 0, "cannot be written; check the folder and the free space");
}

void SsrWriter::write(const SsrBlock& block) {
  m_out << ssrText(block) << std::flush;
  if (!m_out) throw InputError(m_path.string(), 0, "writing failed; check the free space");
}

}  // namespace gnx
