#pragma once
/// \file source_plan.h
/// Which URLs a live run reads, and what it takes from each.

#include <string>
#include <vector>

#include "link/stream_url.h"
#include "live/live_options.h"
#include "record/recording.h"

namespace gnx {

struct PlannedSource {
  StreamUrl url;
  RecordedSource source;
  bool operator==(const PlannedSource& other) const {
    return url.text == other.url.text && source.name == other.source.name &&
           source.roles == other.source.roles && source.rank == other.source.rank;
  }
};

/// One source a URL. Without URLs of their own broadcast messages are taken from all, corrections from the
/// sources of observations. \throws UsageError
std::vector<PlannedSource> planSources(const LiveRunOptions& options);

}  // namespace gnx
