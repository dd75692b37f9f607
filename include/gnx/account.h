#pragma once
/// \file account.h
/// The account of observations: what became of every code and phase value of the planned signals.
///
/// The host counts what the receiver gave and what the host itself leaves out, the engine counts what
/// reaches it and why a value is not in the solution. Both counts are independent of each other, so
///
///     in = used + sum of the reasons
///
/// is a statement about the whole way of an observation, not a definition.

#include <map>
#include <string>

namespace gnx {

/// Code and phase values of one system.
struct SystemAccount {
  long in = 0;                          ///< given by the receiver for planned signals
  long unplanned = 0;                   ///< given besides, for signals outside the plan
  long used = 0;                        ///< in a row of the filter
  std::map<std::string, long> reasons;  ///< why a value is not, by keyword

  /// in - used - reasons: 0 unless the run broke off.
  long unexplained() const;
};

/// By system letter.
using RunAccount = std::map<char, SystemAccount>;

/// All systems together.
SystemAccount totalOf(const RunAccount& account);
/// What a keyword means, for people; the keyword itself when it is unknown.
std::string describeReason(const std::string& keyword);

}  // namespace gnx
