// Batches of another source with their phase biases moved to where the engine's antenna offsets leave
// wide-lanes.

#include <utility>

#include "corrections/sources.h"

namespace gnx {

namespace {

class OffsetFreeSource : public CorrectionSource {
 public:
  OffsetFreeSource(std::unique_ptr<CorrectionSource> source, PhaseCentreHeights heights)
      : m_source(std::move(source)), m_heights(std::move(heights)) {}

  bool next(CorrectionBatch& batch) override {
    if (!m_source->next(batch)) return false;
    makeUpForOffsets(batch, m_heights);
    return true;
  }

 private:
  std::unique_ptr<CorrectionSource> m_source;
  PhaseCentreHeights m_heights;
};

}  // namespace

std::unique_ptr<CorrectionSource> makeOffsetFreeSource(std::unique_ptr<CorrectionSource> source,
                                                       PhaseCentreHeights heights) {
  return std::make_unique<OffsetFreeSource>(std::move(source), std::move(heights));
}

}  // namespace gnx
