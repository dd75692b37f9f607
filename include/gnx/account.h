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

#include <filesystem>
#include <map>
#include <string>
#include <vector>

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

/// Adds the engine's running totals, the last "ACC" lines of its "diagnostics.log" (output option
/// "-outaccount"), to the host's counts.
void addEngineAccount(const std::filesystem::path& diagnostics, RunAccount& account);

/// All systems together.
SystemAccount totalOf(const RunAccount& account);
/// Letters of the systems with planned signals, in the usual order.
std::vector<char> systemsOf(const RunAccount& account);
/// Values of systems without planned signals, which belong to no column.
long unplannedSystems(const RunAccount& account);
/// Keywords with a count, in the order in which an observation meets them.
std::vector<std::string> reasonsOf(const RunAccount& account);
/// What a keyword means, for people; the keyword itself when it is unknown.
std::string describeReason(const std::string& keyword);

/// What to do about the reason that took the most values, or the lack of any: a sentence for a run in which
/// few epochs have a solution.
std::string adviceOn(const RunAccount& account);

/// A table for a terminal, lines ended; columns are the systems and the total.
std::string formatAccount(const RunAccount& account);

/// "system,item,count" with the items in, unplanned, used and the reasons.
void writeAccount(const std::filesystem::path& file, const RunAccount& account);
/// Empty when there is no such file. Throws InputError when it is damaged.
RunAccount readAccount(const std::filesystem::path& file);

}  // namespace gnx
