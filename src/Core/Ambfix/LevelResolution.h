#pragma once
/// \file LevelResolution.h
/// One level of the integer resolution, from the float state to constraints and record, whatever its form:
///
///   1. references are kept or chosen anew,
///   2. satellites that may enter become differences against them, with their covariance,
///   3. their integers are searched and accepted, all or some,
///   4. those enter the square root as pseudo-observations of weight 1e4 below the triangle,
///   5. the record of fixes shows what became of every candidate; the next level reads it.

#include <string>
#include <vector>

#include "Core/Ambfix/LevelForm.h"

namespace tarvio {

/// Differences between the candidates of a level and their references.
struct LevelProblem {
  std::vector<double> Q;  ///< n x n, column-major, cycles^2
  std::vector<double> x;  ///< cycles
  std::vector<int> idx;   ///< satellite rows

  int m_size() const { return static_cast<int>(idx.size()); }
  /// To callers that keep the parts apart. \param nlist  column stride of Q \return the size
  int m_handOver(std::vector<double>& toQ, std::vector<double>& toX, std::vector<int>& toIdx, int* nlist);
};

/// What a search has found, by satellite row.
struct LevelIntegers {
  LevelIntegers() = default;
  LevelIntegers(const int* integers, const int* marks);

  int ifix[kMaxSat] = {};   ///< cycles
  int flags[kMaxSat] = {};  ///< 1: fixed
};

class LevelResolution {
 public:
  /// \param updc  biases of the level, may be null \pre all outlive this object
  LevelResolution(const LevelForm& form, SrifFilter* filter, const Updc* updc)
      : m_form(form), m_filter(filter), m_updc(updc) {}

  // s0 [7] is the reference satellite by system, -1 none.

  /// All steps. \param systems  letters of the systems that get references \param announced  name under which
  /// constraints are told in the log, null: they are not
  void m_resolve(const std::string& systems, int* s0, const char* announced = nullptr) const;

  /// Keeps references that still serve, else takes the highest satellite that does, or the last high one
  /// that the level before has fixed.
  /// \param unfit  satellites that may be none
  void m_pickReferences(const std::string& systems, int* s0, const std::vector<int>& unfit = {}) const;
  /// \param Qamb  covariance of the ambiguity columns, nc doubles from one column to the next
  LevelProblem m_formProblem(const double* Qamb, int nc, const int* s0) const;
  /// \return whether the constraints found room; without it the array stays as the level before left it
  bool m_constrain(const LevelIntegers& integers, const int* s0) const;

 private:
  bool m_serves(int isat) const;
  bool m_find(const std::string& systems, int* s0, LevelProblem& problem, LevelIntegers& integers) const;
  bool m_search(LevelProblem& problem, const int* s0, LevelIntegers& integers, int& unfitReference) const;
  bool m_apply(const LevelIntegers& integers, const int* s0) const;
  bool m_combine(int isat, Combination& out) const;
  std::vector<Combination> m_candidates(const int* s0) const;

  const LevelForm& m_form;
  SrifFilter* m_filter;
  const Updc* m_updc;
};

/// Puts the candidates of a level, its references and its integers on record.
void s_recordLevel(Level level, SrifFilter* filter, const LevelProblem& problem,
                   const LevelIntegers& integers, const int* s0);
/// Lists what the smoothed wide-lanes of a level have fixed among its candidates, against the highest
/// satellite of each system. Their integers are on record already, none depends on a reference.
void s_listSmoothed(Level level, SrifFilter* filter);

}  // namespace tarvio
