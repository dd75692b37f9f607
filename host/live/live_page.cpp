// Serves the page of a live run and tells it the news.

#include "live/live_page.h"

#include <json/json.h>

#include <utility>

#include "report/template.h"

namespace gnx {

namespace {

constexpr int kSatelliteBeats = 5;  ///< their table is long and changes slowly

std::string oneLine(const Json::Value& value) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  return Json::writeString(writer, value);
}

std::string partsEvent(const PageParts& parts) {
  Json::Value object(Json::objectValue);
  for (const auto& [name, html] : parts) object[name] = html;
  return eventText("parts", oneLine(object));
}

/// The release tells a page that was loaded from another one to load anew.
std::string helloEvent() {
  Json::Value hello(Json::objectValue);
  hello["release"] = GNX_VERSION;
  return eventText("hello", oneLine(hello));
}

HttpAnswer styleOf(const std::string& file) { return {200, "text/css; charset=utf-8", pageFile(file).html}; }

}  // namespace

HttpAnswer scriptOf(const std::string& file) {
  return {200, "text/javascript; charset=utf-8", pageFile(file).html};
}

std::map<std::string, HttpServer::Page> pageAssets() {
  return {{"/style.css", [] { return styleOf("style.css"); }},
          {"/live.css", [] { return styleOf("live/live.css"); }},
          {"/events.js", [] { return scriptOf("live/events.js"); }}};
}

LivePage::LivePage(const LiveStatus& status, const LiveLog& log, std::string station, Mode mode)
    : m_status(status),
      m_log(log),
      m_station(std::move(station)),
      m_mode(mode),
      m_events([this] { return greeting(); }, [this] { return beat(); }) {}

std::map<std::string, HttpServer::Page> LivePage::pages() const {
  auto pages = pageAssets();
  pages["/"] = [this] { return page(); };
  for (const char* file : {"charts.js", "sky.js", "live.js"})
    pages[std::string("/") + file] = [file] { return scriptOf(std::string("live/") + file); };
  pages["/metrics"] = [this] { return m_status.metrics(); };
  pages["/healthz"] = [this] { return m_status.health(); };
  pages["/solution.json"] = [this] { return m_status.solution(); };
  return pages;
}

HttpAnswer LivePage::page() const {
  Fields fields = {{"station", m_station}, {"mode", nameOf(m_mode)}, {"version", GNX_VERSION}};
  for (auto& [name, html] : parts()) fields[name] = Markup(html);
  return {200, "text/html; charset=utf-8", fillPage("live/page.html", fields).html};
}

std::string LivePage::greeting() const {
  const std::string epoch = m_status.epochJson();
  return helloEvent() + eventText("history", m_status.historyJson()) +
         (epoch.empty() ? "" : eventText("epoch", epoch)) + partsEvent(parts());
}

/// What has changed since the last beat.
std::string LivePage::beat() {
  PageParts now = parts(), news;
  const bool withSatellites = ++m_beats % kSatelliteBeats == 0;
  for (auto& [name, html] : now) {
    if (m_told[name] == html || (name == "satellites" && !withSatellites)) continue;
    news[name] = html;
    m_told[name] = std::move(html);
  }
  return news.empty() ? "" : partsEvent(news);
}

}  // namespace gnx
