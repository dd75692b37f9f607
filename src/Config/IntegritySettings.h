#pragma once
/// \file IntegritySettings.h
/// When integers are believed. An extension: without the object "integrity" in the file of the levels a set
/// of integers is accepted by its ratio alone and every accepted set makes a fixed solution.

namespace tarvio {

struct IntegritySettings {
  bool m_on = false;
  double m_failureRate = 0.01;               ///< of a set of the last level, by its formal precision
  double m_failureRateOfMany = 0.1;          ///< of one of many, whose ratio says more:
  double m_wideLaneFailureRate = 0.01;       ///< of the levels before it
  double m_wideLaneFailureRateOfMany = 0.5;  ///< where the last level can tell right from wrong wide-lanes:
  int m_many = 10;                           ///< from so many satellites besides the references on
  double m_ratio = 3.0;                      ///< of the second best vector to the best, in the last level
  double m_misfit = 0.01;                    ///< share of right sets whose best vector may look too bad
  double m_share = 0.6;                      ///< of the candidates that a set must hold
  double m_misfits = 0.2;      ///< of the candidates that may be left out because they do not fit
  double m_agreement_s = 0.0;  ///< for which a search must find the same integer
  /// Errors of a satellite that no averaging takes away, cycles: as the search takes them, and the largest
  /// that pass for such errors when the best vector is judged.
  double m_wideLaneFloor[2] = {0.035, 0.06};
  double m_narrowLaneFloor[2] = {0.01, 0.05};
  double m_position_m = 0.033;  ///< largest formal 3D sigma of a position that is called fixed
  int m_least = 4;              ///< fewest integers of the last level behind a fixed position
  double m_biasAge_s = 360.0;   ///< oldest phase biases
  /// A stream that has missed so many of its own updates has ceased, but not before so many seconds.
  double m_missedBiases = 4.0, m_leastBiasAge_s = 120.0;
};

}  // namespace tarvio
