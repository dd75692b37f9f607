#pragma once
/// \file bias_table.h
/// Satellite biases of files in the form in which the engine takes them.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "gnx/corrections.h"
#include "gnx/read.h"

namespace gnx {

/// Biases by satellite and time from the rows of bias files.
///
/// Observable-specific biases are negated: files give what is to be subtracted, the engine adds.
/// Differential biases are turned into observable-specific ones where the file has none for a
/// satellite: the pair to which its clock refers gets no ionosphere-free bias,
///     f1^2 b1 - f2^2 b2 = 0,  b1 - b2 = DSB,
/// and the others follow from their differences to known signals; signals without a connection to
/// that pair are left out.
class BiasTable {
 public:
  explicit BiasTable(std::vector<BiasRow> rows);

  bool empty() const { return m_rows.empty(); }
  /// Whether a bias begins or ends after one time and not after another.
  bool changes(const GpsTime& after, const GpsTime& until) const;
  /// All biases valid at t, metres, to be added; satellites in order of name.
  std::vector<SatBiases> at(const GpsTime& t) const;

 private:
  std::map<SatName, std::vector<BiasRow>> m_rows;
  std::set<GpsTime> m_changes;
};

/// Wide-lane biases of satellites in cycles, from clock files whose clocks keep the ambiguities integer.
struct WideLaneBias {
  double cycles = 0.0;
  char firstBand = '1', secondBand = '2';
};

/// Reads the comment lines "WL G01 2020 6 25 12 0 0.000000 1 -0.110300E+01 0102" of a clock file's
/// header; the last word names the two bands.
std::map<SatName, WideLaneBias> wideLaneBiases(const std::vector<std::string>& header);

/// The same as phase biases to be added, metres:
///     b1 = -(f2/f1) L w,  b2 = -(f1/f2) L w,  L = c/(f1 - f2).
/// They shift the Melbourne-Wuebbena combination by w cycles and leave the ionosphere-free phase
/// unchanged (Laurichesse et al. 2009). Signals: GPS 1C 2W, Galileo 1C 5Q.
std::vector<SatBiases> phaseBiasesOf(const std::map<SatName, WideLaneBias>& wideLanes);

/// All biases of a set of product files.
class ProductBiases {
 public:
  ProductBiases() = default;
  /// \param clockHeader  header lines with wide-lanes that are to serve as phase biases; empty: none
  ProductBiases(const std::vector<std::string>& biasFiles, const std::vector<std::string>& clockHeader);

  bool empty() const { return m_table.empty() && m_wideLanes.empty(); }
  bool hasWideLanes() const { return !m_wideLanes.empty(); }
  bool changes(const GpsTime& after, const GpsTime& until) const { return m_table.changes(after, until); }
  /// Phase biases of the files go before the wide-lanes of the header.
  std::vector<SatBiases> at(const GpsTime& t) const;

 private:
  BiasTable m_table{{}};
  std::vector<SatBiases> m_wideLanes;
};

}  // namespace gnx
