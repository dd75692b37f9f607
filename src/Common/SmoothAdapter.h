#pragma once
/// \file SmoothAdapter.h
/// Running mean and standard deviation of a scalar series over a bounded window.

#include <list>

namespace tarvio {

class SmoothAdapter {
 public:
  SmoothAdapter();                  ///< window of 100
  explicit SmoothAdapter(int max);  ///< 0 ends the process

  /// Adds a value; `seed` is the sigma used for the first value. Outputs may be null.
  void m_smooth(double value, double* mean, double* sigma, double seed);
  void m_smooth(double value, double* mean, double* sigma);
  /// With a time stamp; m_remove drops by it.
  void m_smooth(int time, double value, double* mean, double* sigma);
  /// Drops entries from the front while their time passes the predicate, out of the mean too.
  template <typename Predicate>
  void m_remove(Predicate passes) {
    while (!m_times.empty() && passes(m_times.front())) m_dropFront();
  }
  void m_reset();
  void m_setmax(int n);

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_mean, m_sigma, m_count, m_max, m_times, m_values, m_resid);
  }

  double m_mean = 0.0;
  double m_sigma = 999.0;
  int m_count = 0;
  int m_max = 100;
  std::list<int> m_times;
  std::list<double> m_values;  ///< oldest first
  std::list<double> m_resid;   ///< each value's residual from the mean at its entry

 private:
  void m_dropFront();
  /// \param lost  degrees of freedom that the sliding sigma gives up: 0, or 1 in the timed form
  void m_add(double value, int lost);
  void m_hand(double* mean, double* sigma) const;
};

}  // namespace tarvio
