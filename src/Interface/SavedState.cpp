// The engine's state as bytes between two runs: a head that tells the build and guards the rest, what the
// filter knows, and the turns of satellites under way.

#include <algorithm>
#include <stdexcept>

#include "Common/StateArchive.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Model/Eclipse.h"
#include "Interface/Controller.h"

namespace tarvio {

namespace {

constexpr std::uint32_t kMagic = 0x53584e47;  // "GNXS"
constexpr std::uint32_t kVersion = 1;

struct Head {
  std::uint32_t magic = kMagic, version = kVersion;
  std::uint64_t layout = sizeof(SrifPamt) + (sizeof(NoiseMonitor) << 16) + (sizeof(Station) << 40);
  std::uint64_t size = 0, checksum = 0;
};

}  // namespace

std::string Controller::m_state() {
  if (m_filter == nullptr || m_filter->v_isInit() == 0) return "";
  StateArchive body;
  m_filter->v_fields(body);
  body(Eclipse::s_getInstance());
  Head head;
  head.size = body.m_bytes().size();
  head.checksum = s_checksum(body.m_bytes());
  StateArchive whole;
  whole(head);
  return whole.m_bytes() + body.m_bytes();
}

void Controller::m_resume(const std::string& state) {
  if (m_filter == nullptr || m_filter->v_isInit() != 0)
    throw std::runtime_error("a state can be taken over before the first epoch alone");
  const Head own;
  Head head;
  StateArchive whole(state);
  whole(head);
  const std::string_view body = std::string_view(state).substr(sizeof head);
  if (head.magic != own.magic || head.version != own.version || head.layout != own.layout)
    throw std::runtime_error("the saved state is of another version of the engine");
  if (head.size != body.size() || head.checksum != s_checksum(body))
    throw std::runtime_error("the saved state is damaged");
  StateArchive fields(body);
  try {
    m_filter->v_fields(fields);
    fields(Eclipse::s_getInstance());
  } catch (const std::exception&) {
    m_filter->v_srif_reset();
    Eclipse::s_getInstance().m_reset();
    throw;
  }
  m_trial.m_begin(*m_filter);
}

/// Columns and rows of the epoch. While a state of an earlier run is on trial, what does not hold begins anew
/// and the rows are made once more; their right-hand sides are those of before the a-priori values.
void Controller::m_addRows(SrifFilter& filter) {
  const Station& sta = filter.m_stations[0];
  const bool trial = m_trial.m_isPending() && sta.m_nobs > 0;
  std::vector<double> misclosures;
  if (trial) misclosures.assign(sta.m_omcList, sta.m_omcList + sta.m_nobs);
  filter.v_onAddAmbt();
  filter.v_onAddObsMatrix();
  if (!trial) return;

  const ResumeTrial::Verdict verdict = m_trial.m_judge(filter);
  if (verdict.held > 0 || !verdict.m_isClean()) m_events.m_resumed(filter, verdict);
  if (verdict.m_isClean()) return;
  if (!verdict.anew.empty()) filter.v_srif_reset();
  for (int isat = 0; isat < kMaxSat; ++isat) {
    const bool broken = std::find(verdict.broken.begin(), verdict.broken.end(), isat) != verdict.broken.end();
    for (int slot = 0; slot < kFreq && (broken || !verdict.anew.empty()); ++slot)
      filter.m_endArc(0, isat, slot);
  }
  std::copy(misclosures.begin(), misclosures.end(), sta.m_omcList);
  filter.v_onAddAmbt();
  filter.v_onAddObsMatrix();
}

}  // namespace tarvio
