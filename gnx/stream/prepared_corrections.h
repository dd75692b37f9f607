#pragma once
/// \file prepared_corrections.h
/// The corrections of a run's files, judged and made ready for an engine.

#include <memory>
#include <string>
#include <vector>

#include "corrections/sources.h"
#include "gnx/read.h"

namespace gnx {

/// What a run's files are prepared with.
struct Preparation {
  const InputFiles& files;
  const ReadOptions& options;
  const StreamStart& start;           ///< header and corrected signals
  const GpsTime& first;               ///< epoch
  const EphemerisTimeline& timeline;  ///< must outlive the source
};

struct PreparedCorrections {
  std::unique_ptr<CorrectionSource> source;
  IntegerPolicy integers;
  std::vector<std::string> notes;
};

/// Opens the source of corrections and decides whether they carry integers. Reads the first day of a run's
/// observations ahead, for the fractions of its wide-lanes.
PreparedCorrections prepareCorrections(const Preparation& preparation);

}  // namespace gnx
