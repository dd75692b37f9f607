#pragma once
/// \file live_messages.h
/// The broadcast messages of a run as they come.

#include <map>
#include <vector>

#include "corrections/ssr_joiner.h"
#include "gnx/ephemeris.h"

namespace gnx {

class LiveMessages : public MessageBook {
 public:
  /// False for a message that the engine would refuse.
  bool take(const BroadcastEph& eph, const GpsTime& now);
  /// False for one that is held already.
  bool take(const GlonassEph& eph);

  /// Calls a function with each message that is kept, older ones first.
  template <class Function>
  void forEach(Function&& call) const {
    for (const auto& [sat, recent] : m_recent)
      for (const BroadcastEph& eph : recent) call(eph);
    for (const auto& [sat, eph] : m_glonass) call(eph);
  }

  bool serves(const SatName& sat, int issue, const GpsTime& t) const override {
    return m_store.serves(sat, issue, t);
  }
  const BroadcastEph* find(const SatName& sat, int issue, const GpsTime& t) const override;
  const BroadcastEph* pick(const SatName& sat, const GpsTime& t) const override {
    return m_store.pick(sat, t);
  }

 private:
  MessageStore m_store;
  std::map<SatName, std::vector<BroadcastEph>>
      m_recent;  ///< newest last, those that the store has dropped too
  std::map<SatName, GlonassEph> m_glonass;
  GpsTime m_forgotten;
};

}  // namespace gnx
