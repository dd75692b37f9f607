#pragma once
/// \file SrifFilter_dia.h
/// The loop that all ways of outlier treatment share: treat the worst row, refresh the residuals, and so on
/// until everything passes; then judge every jump that was introduced. Inside of the filter.

#include <vector>

namespace tarvio {

class SrifFilter;
struct SrifPamt;

/// What sets the ways of treatment apart.
struct OutlierMode {
  bool afif = false;        ///< wide-lane phase rows of "AFIF" are candidates too
  bool codeAfter = false;   ///< from the second pass on the code rows are the candidates
  bool scaled = false;      ///< test value in sigmas instead of metres
  double forceLimit = 0.0;  ///< m, a residual beyond it never passes
  bool holdCycles = false;  ///< small jumps may be undone where the ambiguity is in cycles
  bool holdMetres = false;  ///< and where it is in metres
};

class OutlierLoop {
 public:
  OutlierLoop(SrifFilter& filter, const OutlierMode& mode) : m_filter(filter), m_mode(mode) {}
  /// Rebuilds the filter's m_ambreset.
  void m_run();

 private:
  void m_collectCandidates(bool first);
  bool m_passes(double value) const;
  /// Treats the worst candidates of a pass. \return false when the array is full
  bool m_treatWorst();
  bool m_prepareColumn(int row, int k, double value);
  void m_log(int row, double value) const;
  void m_judgeAll();
  void m_judge(SrifPamt* record, const std::vector<double>& x);
  void m_hold(SrifPamt* record, double jump);

  SrifFilter& m_filter;
  const OutlierMode m_mode;
  std::vector<int> m_rows, m_order;  ///< candidates, and their order by falling value
  std::vector<double> m_value;       ///< test value by candidate
  double m_largest = 0.0;
  std::vector<int> m_done;   ///< by row, 1 = treated
  std::vector<int> m_fresh;  ///< rows treated in this pass
};

}  // namespace tarvio
