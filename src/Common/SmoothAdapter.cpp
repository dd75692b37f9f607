// Slides a window over values and keeps their mean and scatter.

#include "Common/SmoothAdapter.h"

#include <algorithm>
#include <cmath>

#include "Common/Fatal.h"

namespace tarvio {

SmoothAdapter::SmoothAdapter() = default;

SmoothAdapter::SmoothAdapter(int max) : m_max(max) {
  if (max == 0) s_fatal(__func__, __LINE__, "max = 0,incorrect max value!\n");
}

void SmoothAdapter::m_smooth(double value, double* mean, double* sigma, double seed) {
  if (m_count == 0) m_sigma = seed;
  m_add(value, 0);
  m_hand(mean, sigma);
}

void SmoothAdapter::m_smooth(double value, double* mean, double* sigma) {
  m_add(value, 0);
  m_hand(mean, sigma);
}

void SmoothAdapter::m_smooth(int time, double value, double* mean, double* sigma) {
  m_add(value, 1);
  if (m_times.size() >= m_values.size()) m_times.pop_front();  // the window slid
  m_times.push_back(time);
  m_hand(mean, sigma);
}

void SmoothAdapter::m_hand(double* mean, double* sigma) const {
  if (mean != nullptr) *mean = m_mean;
  if (sigma != nullptr) *sigma = m_sigma;
}

void SmoothAdapter::m_add(double value, int lost) {
  const double n = m_count;
  if (m_count < std::max(m_max, 1)) {
    m_mean = (m_mean * n + value) / (n + 1.0);
    const double residual = value - m_mean;
    if (m_count > 0) m_sigma = std::sqrt((n * m_sigma * m_sigma + residual * residual) / (n + 1.0));
    ++m_count;
  } else {
    const double oldest = m_values.front(), oldResidual = m_resid.front();
    m_mean += (value - oldest) / n;
    const double residual = value - m_mean;
    m_sigma = std::sqrt((residual * residual - oldResidual * oldResidual) / (n - lost) + m_sigma * m_sigma);
    m_values.pop_front();
    m_resid.pop_front();
  }
  m_values.push_back(value);
  m_resid.push_back(value - m_mean);
}

void SmoothAdapter::m_dropFront() {
  m_times.pop_front();
  if (m_count <= 1) {
    m_reset();
    return;
  }
  m_mean = (m_mean * m_count - m_values.front()) / (m_count - 1);
  m_values.pop_front();
  m_resid.pop_front();
  --m_count;
}

void SmoothAdapter::m_reset() {
  m_times.clear();
  m_values.clear();
  m_resid.clear();
  m_count = 0;
  m_mean = 0.0;
  m_sigma = 999.0;
}

void SmoothAdapter::m_setmax(int n) { m_max = n; }

}  // namespace tarvio
