#pragma once
/// \file FixRecord.h
/// The record of fixes, SrifFilter::m_fixmap, as what it holds: for a station and a level the value of each
/// satellite in cycles and how it came about. The map underneath is prescribed, satellites being spread over
/// keys that differ in their endings; only this file knows them. They are short enough to stand inside the
/// string object, so that no look-up allocates.

#include <map>
#include <string>

#include "Config/AmbiguityLevel.h"

namespace tarvio {

/// Station, tag of the level, key.
using FixMap = std::map<std::string, std::map<std::string, std::map<std::string, double>>>;

/// What a level has fixed, for reading; empty where nothing has been recorded.
class Fixes {
 public:
  Fixes(const FixMap& map, const std::string& station, const char* tag);
  Fixes(const FixMap& map, const std::string& station, Level level)
      : Fixes(map, station, s_traits(level).tag) {}

  /// Cycles: the integer of a fixed satellite, the float of another, 0 for a reference. Null: not recorded.
  const double* m_value(int isat) const;
  bool m_isFixed(int isat) const;
  /// Fixed satellites, references included.
  int m_count() const;

 private:
  const std::map<std::string, double>* m_entries = nullptr;
};

/// The same for writing. Creates what is not there.
class FixRecord {
 public:
  FixRecord(FixMap& map, const std::string& station, const char* tag) : m_entries(map[station][tag]) {}
  FixRecord(FixMap& map, const std::string& station, Level level)
      : FixRecord(map, station, s_traits(level).tag) {}

  void m_clear() { m_entries.clear(); }
  /// Took part and stays open.
  void m_setOpen(int isat, double cycles);
  void m_setFixed(int isat, double cycles, Level level);
  /// A satellite that is recorded already counts as fixed from now on.
  void m_markFixed(int isat, Level level);
  /// Took part in the search of this epoch.
  void m_markSearched(int isat);
  /// Begin and last epoch of the arc that has been smoothed, fractional MJD.
  void m_setArc(int isat, double begin, double last);

 private:
  double& m_entry(int isat, const char* ending);

  std::map<std::string, double>& m_entries;
};

}  // namespace tarvio
