#pragma once
/// \file correction_streams.h
/// Streams of corrections side by side: each is joined to batches, one is in use.

#include <functional>
#include <map>
#include <memory>

#include "corrections/issue_bridge.h"
#include "live/source_choice.h"

namespace gnx {

class CorrectionStreams {
 public:
  CorrectionStreams(const MessageBook& messages, double failover_s, double back_s, double bridge_s)
      : m_messages(messages), m_bridge(bridge_s), m_choice(failover_s, back_s) {}
  CorrectionStreams(const CorrectionStreams&) = delete;
  CorrectionStreams& operator=(const CorrectionStreams&) = delete;

  void add(int number, int rank);
  void remove(int number);
  /// A block of a source. \param arrival  by the machine's clock; \param delivery  by the clock of the run
  void take(int number, const SsrBlock& block, const GpsTime& arrival, const GpsTime& delivery);
  /// Ends the batches that wait for more blocks.
  void join();
  /// Decides which source is in use. \return whether it is another one now
  bool decide(const GpsTime& arrival);

  /// Switches so far, and the source in use; to be taken over by a run that goes on.
  int switches() const { return m_switches; }
  void goOn(int switches, std::optional<int> used) { m_switches = switches, m_used = used; }

  const SourceChoice& choice() const { return m_choice; }
  const IssueBridge& bridge() const { return m_bridge; }

  /// Takes the batches of the source in use, and is told how many batches were put aside.
  std::function<void(const CorrectionBatch&)> give;
  std::function<void()> standBy;

 private:
  void join(int number, SsrJoiner& joiner);
  void beginArcs(CorrectionBatch& batch) const;

  const MessageBook& m_messages;
  IssueBridge m_bridge;
  SourceChoice m_choice;
  std::map<int, std::unique_ptr<SsrJoiner>> m_joiners;
  GpsTime m_biasTag;          ///< of the biases given last; tags go up
  std::optional<int> m_used;  ///< source of the batch given last
  int m_switches = 0;
};

}  // namespace gnx
