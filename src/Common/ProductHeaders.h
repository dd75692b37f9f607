#pragma once
/// \file ProductHeaders.h
/// Headers of the files in which orbits and clocks are published.
///
/// References: S. Hilla, The Extended Standard Product 3 Orbit Format (SP3-d), 2016; J. Ray, W. Gurtner,
/// RINEX Extensions to Handle Clock Information, version 3.00, 2006.

#include <iosfwd>
#include <string>
#include <vector>

namespace tarvio {

/// An orbit file of positions and clocks. Times are GPS time.
struct Sp3Header {
  int m_mjd = 0;
  double m_sod = 0.0;  ///< first epoch
  int m_nepoch = 0;
  double m_intv = 0.0;                  ///< s
  std::vector<std::string> m_cprn;      ///< "G05"; at most 999
  std::string m_frame = "ITRF";         ///< at most 5 characters
  std::string m_orbtype = "FIT";        ///< FIT fitted, EXT extrapolated, BCT broadcast
  std::vector<std::string> m_comments;  ///< at most 77 characters each
};

/// A clock file of satellites (AS). Times are GPS time but for the date of the run.
struct ClkHeader {
  int m_mjd = 0;
  double m_sod = 0.0;  ///< when the file is made, UTC
  int m_leap = 0;      ///< GPS minus UTC, s
  std::vector<std::string> m_cprn;
  std::vector<std::string> m_comments;  ///< at most 60 characters each
};

/// SP3-d, accuracies unknown.
void m_wtsp3hd(std::ostream& out, const Sp3Header& header);
/// RINEX clock 3.00.
void m_wtclkhd(std::ostream& out, const ClkHeader& header);

}  // namespace tarvio
