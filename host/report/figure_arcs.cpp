// When each satellite was used, where its phases slipped, and what was rejected.

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>

#include "gnx/account.h"
#include "report/figure_frame.h"
#include "report/svg_canvas.h"
#include "report/system_order.h"

namespace gnx {

namespace {

constexpr double kLeft = 44.0, kRight = 8.0, kTop = 18.0, kBottom = 22.0, kRow = 11.0;

/// A stretch of use.
struct Use {
  GpsTime from, until;
  std::size_t phases = 0;
  double squares = 0.0;
};

std::map<SatName, std::vector<Use>, SystemOrder> usesOf(const Frame& f) {
  const double gap_s = std::max(60.0, 2.5 * f.run.plan.details);
  std::map<SatName, std::vector<Use>, SystemOrder> uses;
  for (const Residual& r : f.run.residuals) {
    if (!r.phase || !parseSat(r.satellite)) continue;
    auto& list = uses[r.satellite];
    if (list.empty() || r.time - list.back().until > gap_s) list.push_back({r.time, r.time});
    list.back().until = r.time;
    ++list.back().phases;
    list.back().squares += r.value * r.value;
  }
  return uses;
}

class ArcChart {
 public:
  ArcChart(const Frame& f, const std::map<SatName, std::vector<Use>, SystemOrder>& uses)
      : m_frame(f),
        m_height(static_cast<int>(kTop + kBottom + kRow * static_cast<double>(uses.size()))),
        m_canvas(kWidth, m_height) {
    drawAxis();
    double y = kTop;
    for (const auto& [satellite, list] : uses) {
      m_rows[satellite] = y;
      m_canvas.text({kLeft - 6.0, y + 8.5}, satellite, "end", 9);
      for (const Use& use : list) drawUse(satellite, use, y);
      y += kRow;
    }
  }

  /// \param cross  else a stroke through the row
  void mark(const SatName& satellite, const GpsTime& time, const std::string& words, bool cross) {
    const auto row = m_rows.find(satellite);
    if (row == m_rows.end()) return;
    const double x = at(time), y = row->second + 0.5 * kRow;
    m_canvas.beginGroup(printed("%s %s ", satellite.c_str(), hourText(m_frame.hours(time)).c_str()) + words);
    if (cross)
      m_canvas.polyline(
          {{x - 2.5, y - 2.5}, {x + 2.5, y + 2.5}, {x, y}, {x - 2.5, y + 2.5}, {x + 2.5, y - 2.5}}, kMark);
    else m_canvas.polyline({{x, y - 5.0}, {x, y + 5.0}}, kMark);
    m_canvas.endGroup();
  }

  std::string svg() const { return m_canvas.svg(); }

 private:
  static constexpr const char* kMark = "stroke=\"#d9534f\" stroke-width=\"1.4\"";

  double at(const GpsTime& time) const {
    const double share = (m_frame.hours(time) - m_frame.first) / (m_frame.last - m_frame.first);
    return kLeft + share * (kWidth - kLeft - kRight);
  }

  void drawAxis() {
    for (const auto& [hour, label] : timeTicks(m_frame.first, m_frame.last)) {
      const double x = at(m_frame.midnight + hour * 3600.0);
      m_canvas.line({x, kTop}, {x, m_height - kBottom}, "stroke=\"currentColor\" stroke-opacity=\"0.2\"");
      const bool last = x > kWidth - 20.0;
      m_canvas.text({last ? kWidth - 2.0 : x, m_height - 8.0}, label, last ? "end" : "middle", 11);
    }
  }

  void drawUse(const SatName& satellite, const Use& use, double y) {
    const double x = at(use.from), width = std::max(1.5, at(use.until) - x);
    m_canvas.beginGroup(printed("%s %s to %s, phase residuals %.1f mm", satellite.c_str(),
                                hourText(m_frame.hours(use.from)).c_str(),
                                hourText(m_frame.hours(use.until)).c_str(),
                                1e3 * std::sqrt(use.squares / static_cast<double>(use.phases))));
    m_canvas.box({x, y + 2.0}, width, kRow - 4.0,
                 printed("fill=\"%s\" fill-opacity=\"0.55\"", systemColor(satellite[0])).c_str());
    m_canvas.endGroup();
  }

  const Frame& m_frame;
  int m_height;
  SvgCanvas m_canvas;
  std::map<SatName, double> m_rows;
};

}  // namespace

std::optional<Figure> drawArcs(const Frame& f) {
  const auto uses = usesOf(f);
  if (uses.empty()) return std::nullopt;
  ArcChart chart(f, uses);
  std::size_t slips = 0, rejections = 0;
  std::set<std::pair<SatName, GpsTime>> told;
  for (const PhaseArc& arc : f.run.arcs) {
    if (!arc.slipped() || !told.insert({arc.satellite, arc.from}).second) continue;
    chart.mark(arc.satellite, arc.from, "slip", false);
    ++slips;
  }
  // Values left out one after the other for one reason are one cross every few minutes.
  const double apart_s = (f.last - f.first) * 3600.0 / 240.0;
  std::map<std::pair<SatName, std::string>, GpsTime> last;
  for (const Rejection& r : f.run.rejections) {
    ++rejections;
    const auto [place, first] = last.try_emplace({r.satellite, r.reason}, r.time);
    if (!first && r.time - place->second < apart_s) continue;
    place->second = r.time;
    chart.mark(r.satellite, r.time, describeReason(r.reason), true);
  }
  return Figure{
      "arcs", "Satellites over time",
      printed("Bars: phases used, at the epochs with residuals; strokes: %zu slips; crosses: %zu values of "
              "satellites above the mask that were left out.",
              slips, rejections),
      chart.svg(), false};
}

}  // namespace gnx
