/// \file Model.cpp
/// What every observation model offers: azimuth and elevation, the phase-based ionosphere and the
/// code-minus-carrier monitor.

#include "Core/Model/Model.h"

#include <cmath>

#include "Common/Com.h"
#include "Common/ElevationWeight.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Core/Model/ModelSteps.h"

namespace tarvio {
namespace {

constexpr double kMonitorMask_rad = 0.12217304763960307;  // 7 degrees
constexpr double kQueueMask_rad = 0.17453292519943295;    // 10 degrees
constexpr int kArcMinimum = 30;
constexpr std::size_t kQueueLimit = 7200;

/// Adds a residual to the queue of a slot and renews its mean and sigma.
void s_queueResidual(t_cmc_queue& cmc, int slot, double residual) {
  std::deque<double>& queue = cmc.m_queue[slot];
  double& mean = cmc.m_mean[slot];
  if (queue.size() > kQueueLimit) {
    const double count = static_cast<double>(queue.size());
    mean = (count * mean - queue.front()) / (count - 1.0);
    queue.pop_front();
  }
  const double count = static_cast<double>(queue.size());
  mean = (count * mean + residual) / (count + 1.0);
  queue.push_back(residual);
  double sum = 0.0;
  for (const double v : queue) sum += (v - mean) * (v - mean);
  cmc.m_sigma[slot] = std::sqrt(sum / static_cast<double>(queue.size()));
}

}  // namespace

Model::Model(const ProductStores* filter, Station* sta) : Model(filter, sta, nullptr) {}

Model::Model(const ProductStores* filter, Station* sta, Station* sta2)
    : m_filter(filter), m_sta(sta), m_sta2(sta2) {}

void Model::gnssModel(bool /*lcheck*/) {}

void Model::sppModel() {}

void Model::m_azel(Station* sta) {
  if (sta->m_x[0] * sta->m_x[1] * sta->m_x[2] == 0.0) return;
  const Deploy& deploy = s_config();
  const int rows = std::min(deploy.m_nsat, static_cast<int>(deploy.m_satellites.size()));
  for (int i = 0; i < rows; ++i) {
    Ssat_t& sat = sta->m_sat[i];
    sat.m_azim = sat.m_elev = 0.0;
    const double* x = deploy.m_satellites[static_cast<std::size_t>(i)].m_xyz;
    if (x[0] * x[1] * x[2] == 0.0) continue;
    const double d[3] = {x[0] - sta->m_x[0], x[1] - sta->m_x[1], x[2] - sta->m_x[2]};
    s_lineOfSight(*sta, d, &sat.m_azim, &sat.m_elev);
  }
}

double Model::m_computeIon(int isat) {
  const Deploy& deploy = s_config();
  const double* obs = m_sta->m_sat[isat].m_obs;
  if (!validSatObs(deploy.m_obsused, deploy.m_obscomb, obs, isat, 0) ||
      !validSatObs(deploy.m_obsused, deploy.m_obscomb, obs, isat, 1))
    return 0.0;
  const int isys = deploy.m_sysOfRow(isat);
  if (isys < 0) return 0.0;
  const double f1 = freqbytp(isat, deploy.m_freqUsed[isys][0]);
  const double f2 = freqbytp(isat, deploy.m_freqUsed[isys][1]);
  const double gamma = f1 * f1 / (f2 * f2);
  return (kLight / f1 * obs[0] - kLight / f2 * obs[1]) / (gamma - 1.0);
}

void Model::m_computeCmc(Station* sta) {
  m_azel(sta);
  const Deploy& deploy = s_config();
  for (int i = 0; i < deploy.m_nsat; ++i) {
    const int isys = deploy.m_sysOfRow(i);
    if (isys < 0) continue;
    Ssat_t& sat = sta->m_sat[i];
    const double ion = m_computeIon(i);
    for (int f = 0; f < std::min(deploy.m_nfreqObs[isys], kFreq); ++f) {
      int& count = sat.m_cmcCount[f];
      double& mean = sat.m_cmcMean[f];
      if (ion == 0.0 || sat.m_elev < kMonitorMask_rad || sat.m_ambflag[f] != kArcGoesOn ||
          !validSatObs(deploy.m_obsused, deploy.m_obscomb, sat.m_obs, i, f)) {
        count = 0;
        mean = 0.0;
        continue;
      }
      const double f0 = freqbytp(i, deploy.m_freqObs[isys][0]), ff = freqbytp(i, deploy.m_freqObs[isys][f]);
      const double cmc = sat.m_obs[4 + f] - kLight / ff * sat.m_obs[f] - 2.0 * f0 * f0 / (ff * ff) * ion;
      mean = (count * mean + cmc) / (count + 1.0);
      double residual = cmc - mean;
      ++count;
      if (count < kArcMinimum || sat.m_elev < kQueueMask_rad) continue;
      residual *= s_elevationFactor(sat.m_elev);
      s_queueResidual(sta->m_cmc[isys], f, residual);
    }
  }
}

}  // namespace tarvio
