// Words of pages.

#include "live/page_words.h"

#include "text/printed.h"

namespace gnx {

std::string wordOf(SolutionState state) {
  return state == SolutionState::none ? "no position" : nameOf(state);
}

std::string metres(double m) {
  if (m < 0.01) return printed("%.1f mm", m * 1e3);
  return m < 1.0 ? printed("%.1f cm", m * 1e2) : printed("%.2f m", m);
}

std::string seconds(const std::optional<double>& s) {
  if (!s) return "none";
  if (*s < 100.0) return printed("%.1f s", *s);
  return *s < 6000.0 ? printed("%.0f min", *s / 60.0) : printed("%.1f h", *s / 3600.0);
}

Markup badge(SolutionState state) {
  constexpr const char* kMarks[] = {"\u25CB", "\u2715", "\u25B2", "\u25C7", "\u25C6", "\u25CF"};
  const auto number = static_cast<std::size_t>(state);
  return fillPage("live/badge.html",
                  {{"number", std::to_string(number)}, {"mark", kMarks[number]}, {"word", wordOf(state)}});
}

std::string logPart(const std::vector<std::string>& log) {
  std::string text;
  for (const std::string& line : log) text += line + "\n";
  return fillPage("live/log.html", {{"text", text}}).html;
}

}  // namespace gnx
