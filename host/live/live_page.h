#pragma once
/// \file live_page.h
/// The page that shows a live run as it goes: its tables are written here, so that they can be read without
/// script; figures are drawn by the page from the events that it gets.

#include <map>
#include <string>

#include "http/page_events.h"
#include "http/server.h"
#include "live/live_log.h"
#include "live/live_status.h"

namespace gnx {

/// Text of a page that is replaced as a whole, by the name of its place.
using PageParts = std::map<std::string, std::string>;

/// What pages of runs have in common, by path: looks, and the script that keeps parts of a page up to date.
std::map<std::string, HttpServer::Page> pageAssets();
/// A script that is built in, by its file.
HttpAnswer scriptOf(const std::string& file);

/// The parts of the page of one run.
PageParts livePageParts(const LiveView& view, const std::vector<std::string>& log);

class LivePage {
 public:
  /// \param status, log  must outlive this
  LivePage(const LiveStatus& status, const LiveLog& log, std::string station, Mode mode);

  std::map<std::string, HttpServer::Page> pages() const;
  PageEvents& events() { return m_events; }
  /// The last epoch goes to those who watch.
  void tellEpoch() { m_events.send("epoch", m_status.epochJson()); }

 private:
  HttpAnswer page() const;
  std::string greeting() const;
  std::string beat();
  PageParts parts() const { return livePageParts(m_status.view(), m_log.last()); }

  const LiveStatus& m_status;
  const LiveLog& m_log;
  std::string m_station;
  Mode m_mode;
  PageParts m_told;  ///< at the last beat
  int m_beats = 0;
  PageEvents m_events;
};

}  // namespace gnx
