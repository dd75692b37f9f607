#pragma once
/// \file GuardedLevel.h
/// A level whose integers must earn belief: they pass the tests of GuardedSearch.h on a covariance that
/// allows for errors no averaging removes, and searches of successive epochs agree on them. What then enters
/// the solution are the agreed ones alone. The last level in addition must determine the position, or its
/// integers are taken out again and the state is that of the level before.

#include <functional>
#include <vector>

#include "Core/Ambfix/LevelResolution.h"

namespace tarvio {

struct GuardedProblem;

class GuardedLevel {
 public:
  GuardedLevel(const LevelForm& form, SrifFilter* filter) : m_form(form), m_filter(filter) {}

  /// \param unfitReference  the search ends with the reference that does not fit the other satellites, -1
  /// none \return whether any integer may enter the solution
  bool m_search(const LevelProblem& problem, const int* s0, LevelIntegers& integers, double& ratio,
                int& unfitReference) const;
  /// Whether the present arc of a satellite has an integer that searches agree on.
  bool m_agrees(int isat) const;

 private:
  std::vector<double> m_withFloor(const LevelProblem& problem, int which) const;
  void m_setFailureRate(GuardedProblem& problem) const;
  double m_arcOf(int isat) const;
  double m_time() const;
  FixAgreement& m_agreement() const;
  void m_tellMisfits(const LevelProblem& problem, const std::vector<int>& misfits, bool accepted) const;

  const LevelForm& m_form;
  SrifFilter* m_filter;
};

/// Lets the last level's integers in, and out again when they do not make the position precise.
class DeterminedPosition {
 public:
  explicit DeterminedPosition(SrifFilter* filter) : m_filter(filter) {}
  /// \param constrain  folds the constraints in \return whether they stay
  bool m_try(const LevelIntegers& integers, const std::function<bool()>& constrain) const;

 private:
  SrifFilter* m_filter;
};

}  // namespace tarvio
