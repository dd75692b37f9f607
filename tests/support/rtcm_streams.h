#pragma once
/// \file rtcm_streams.h
/// Bytes of RTCM streams and what a decoder makes of them.

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "gnx/rtcm.h"
#include "support/files.h"

namespace support {

using Bytes = std::vector<std::uint8_t>;

inline Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

/// Frames of public streams by message number and mark.
inline Bytes publicFrame(int message, const std::string& mark = "-") {
  std::istringstream lines(readFile(kTestData + "/rtcm_frames.txt"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    int number = 0;
    std::string name, hex;
    if (!(words >> number >> name >> hex) || number != message || name != mark) continue;
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
      bytes.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
  }
  throw std::runtime_error("no frame of message " + std::to_string(message));
}

/// Records of one kind out of all.
template <typename Record>
std::vector<Record> only(const std::vector<gnx::RtcmRecord>& records) {
  std::vector<Record> found;
  for (const gnx::RtcmRecord& record : records) {
    if (const auto* one = std::get_if<Record>(&record)) found.push_back(*one);
  }
  return found;
}

/// A decoder that keeps its records.
struct RtcmListener {
  std::vector<gnx::RtcmRecord> records;
  gnx::RtcmDecoder decoder;

  explicit RtcmListener(std::optional<gnx::GpsTime> reference = std::nullopt)
      : decoder([this](const gnx::RtcmRecord& record) { records.push_back(record); }, reference) {}
  RtcmListener(const RtcmListener&) = delete;
  RtcmListener& operator=(const RtcmListener&) = delete;

  template <typename Record>
  std::vector<Record> all() const {
    return only<Record>(records);
  }
  /// The only record of its kind.
  template <typename Record>
  Record one() const {
    const auto found = all<Record>();
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? Record{} : found.front();
  }
};

/// A signal of an epoch; null when it is not there.
inline const gnx::SignalObs* signalIn(const gnx::ObsEpoch& epoch, const std::string& sat,
                                      const std::string& code) {
  for (const gnx::SatObs& s : epoch.sats) {
    if (s.sat != sat) continue;
    for (const gnx::SignalObs& signal : s.signals) {
      if (code == signal.code.data()) return &signal;
    }
  }
  return nullptr;
}

}  // namespace support
