// The memory of a live run as bytes.

#include "live/live_memory.h"

#include "engine/frames.h"
#include "gnx/error.h"

namespace gnx {

namespace {

constexpr std::uint32_t kVersion = 1;

}  // namespace

template <class Archive>
void fields(Archive& a, BroadcastEph& e) {
  a(e.sat, e.toc, e.toe, e.transmission, e.af, e.iode, e.iodc, e.health, e.accuracy, e.code, e.l2flag, e.crs,
    e.deltaN, e.m0, e.cuc, e.e, e.cus, e.sqrtA, e.cic, e.omega0, e.cis, e.i0, e.crc, e.omega, e.omegaDot,
    e.idot, e.tgd);
}

template <class Archive>
void fields(Archive& a, GlonassEph& e) {
  a(e.sat, e.toe, e.frame, e.tau, e.gamma, e.position, e.velocity, e.acceleration, e.health, e.channel,
    e.age);
}

LiveMemory::LiveMemory(const std::string& bytes) {
  FrameReader in(bytes);
  std::uint32_t version = 0;
  in(version);
  if (version != kVersion) throw UsageError("the memory of the run before is of another version");
  in(switches, corrections, messages, glonass);
}

std::string LiveMemory::bytes() const {
  FrameWriter out;
  out(kVersion, switches, corrections, messages, glonass);
  return out.bytes();
}

}  // namespace gnx
