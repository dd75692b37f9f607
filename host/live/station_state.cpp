// The parts of a state one behind the other, each behind its size.

#include "live/station_state.h"

#include <cstring>

namespace gnx {

namespace {

void put(std::string& bytes, const std::string& part) {
  const std::uint64_t size = part.size();
  bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
  bytes += part;
}

bool take(std::string_view& bytes, std::string& part) {
  std::uint64_t size = 0;
  if (bytes.size() < sizeof size) return false;
  std::memcpy(&size, bytes.data(), sizeof size);
  bytes.remove_prefix(sizeof size);
  if (size > bytes.size()) return false;
  part = bytes.substr(0, size);
  bytes.remove_prefix(size);
  return true;
}

}  // namespace

std::string bytesOf(const StationState& state) {
  std::string bytes(reinterpret_cast<const char*>(&state.epoch), sizeof state.epoch);
  for (const std::string* part : {&state.identity, &state.engine, &state.memory}) put(bytes, *part);
  return bytes;
}

std::optional<StationState> stationStateOf(const std::string& bytes) {
  StationState state;
  if (bytes.size() < sizeof state.epoch) return std::nullopt;
  std::memcpy(&state.epoch, bytes.data(), sizeof state.epoch);
  std::string_view rest = std::string_view(bytes).substr(sizeof state.epoch);
  for (std::string* part : {&state.identity, &state.engine, &state.memory})
    if (!take(rest, *part)) return std::nullopt;
  return state;
}

}  // namespace gnx
