// Joins the URLs of a run by what is taken from them.

#include "live/source_plan.h"

#include <algorithm>

#include "gnx/error.h"

namespace gnx {

namespace {

void add(std::vector<PlannedSource>& plan, const std::vector<std::string>& urls, LiveRole role,
         const std::string& name) {
  for (std::size_t i = 0; i < urls.size(); ++i) {
    const int rank = static_cast<int>(i);
    auto found = std::ranges::find_if(plan, [&](const PlannedSource& p) { return p.url.text == urls[i]; });
    if (found == plan.end()) {
      const std::string number = i == 0 ? "" : std::to_string(i + 1);
      plan.push_back({parseStreamUrl(urls[i]), {name + number, 0, rank}});
      found = plan.end() - 1;
    }
    found->source.roles |= static_cast<int>(role);
  }
}

}  // namespace

std::vector<PlannedSource> planSources(const LiveRunOptions& options) {
  if (options.obs.empty()) throw UsageError("no observations; give a URL with --obs");
  std::vector<PlannedSource> plan;
  add(plan, options.obs, LiveRole::observations, "obs");
  add(plan, options.ssr.empty() ? options.obs : options.ssr, LiveRole::corrections, "ssr");
  add(plan, options.eph, LiveRole::ephemerides, "eph");
  if (options.eph.empty())
    for (PlannedSource& p : plan) p.source.roles |= static_cast<int>(LiveRole::ephemerides);
  return plan;
}

}  // namespace gnx
