// Copies and frees the receiver's lists, and looks stations up by name.

#include "Records/Station.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tarvio {

EpochRows& EpochRows::operator=(const EpochRows& other) {
  if (this != &other) m_freeLists();
  return *this;
}

void EpochRows::m_setIndex(int row, const RowIndex& index) {
  const int values[4] = {index.isat, index.slot, index.kind, index.number};
  std::copy_n(values, 4, m_idxList + 4 * row);
}

void EpochRows::m_freeLists() {
  std::free(m_omcList);
  std::free(m_wgtList);
  std::free(m_idxList);
  m_omcList = nullptr;
  m_wgtList = nullptr;
  m_idxList = nullptr;
  m_nobs = 0;
}

Station::Station(std::string name) : m_name(std::move(name)) {
  std::fill(std::begin(m_sigClk), std::end(m_sigClk), 9000.0);
  std::fill(std::begin(m_qClk), std::end(m_qClk), 900.0);
  std::fill(std::begin(m_sigCode), std::end(m_sigCode), 0.3);
  std::fill(std::begin(m_sigPhase), std::end(m_sigPhase), 0.003);
}

int getIndexOfStation(const std::string& name, const std::vector<Station>& stations) {
  const auto found =
      std::find_if(stations.begin(), stations.end(), [&](const Station& sta) { return sta.m_name == name; });
  return found == stations.end() ? -1 : static_cast<int>(found - stations.begin());
}

Station* pointer_station(const std::string& name, std::vector<Station>& stations) {
  const int index = getIndexOfStation(name, stations);
  return index < 0 ? nullptr : &stations[static_cast<std::size_t>(index)];
}

}  // namespace tarvio
