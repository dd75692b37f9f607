#pragma once
/// \file fleet_page.h
/// The page of a fleet: a row each station.

#include <map>
#include <string>

#include "fleet/fleet_status.h"
#include "live/live_page.h"

namespace gnx {

class FleetPage {
 public:
  /// \param status, log  must outlive this
  FleetPage(const FleetStatus& status, const LiveLog& log, std::string name);

  std::map<std::string, HttpServer::Page> pages() const;
  PageEvents& events() { return m_events; }

 private:
  HttpAnswer page() const;
  PageParts parts() const;

  const FleetStatus& m_status;
  const LiveLog& m_log;
  std::string m_name;
  PartsTeller m_teller;
  PageEvents m_events;
};

}  // namespace gnx
