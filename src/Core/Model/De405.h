#pragma once
/// \file De405.h
/// Reader of the JPL development ephemeris DE405 in its binary form (Standish 1998).
///
/// The file is a sequence of records of 1018 doubles (8144 bytes): two of header, then one for every
/// span of 32 days with the Chebyshev coefficients of the barycentric positions. The records may stand
/// one behind the other or at a distance of 32576 bytes, as compilers write them that count the record
/// length in words; the reader finds out from the dates of the data records. Numbers are taken in the
/// byte order of the machine.
///
/// Times are TDB as Julian date (TT will do), positions km, velocities km/s, axes ICRF; nutations and
/// librations radians and radians/s.

#include <array>
#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

namespace tarvio {

class De405 {
 public:
  /// Numbers of bodies: 1 Mercury .. 9 Pluto, and
  static constexpr int kEarth = 3, kMoon = 10, kSun = 11, kBarycentre = 12, kEarthMoon = 13, kNutations = 14,
                       kLibrations = 15;

  /// The instance of the process on the file of key "jpleph".
  static De405& s_getInstance();
  De405() = default;
  explicit De405(const std::string& file);

  /// State of `target` from `centre`: position and velocity in rrd[6]; nutations dpsi, deps and rates
  /// in rrd[0..3] and librations in rrd[0..5] without regard to the centre.
  /// \return false, with a message in the logs once, without a usable file or outside its span
  bool pleph(double jd, int target, int centre, double* rrd);

  /// Barycentric states of the bodies wanted at (jd[0] + jd[1]).
  /// \param list  0 none, 1 position, 2 position and velocity: Mercury, Venus, Earth-Moon barycentre,
  ///              Mars .. Pluto, geocentric Moon, nutations, librations
  /// \param pv  rows 0..9 as in the list, row 10 Sun, row 12 librations \param nut  dpsi, deps and rates
  bool state(const double jd[2], const int list[12], double pv[13][6], double* nut);
  /// Chebyshev series of one body.
  /// \param buf  coefficients [na][ncm][ncf] \param t  fraction of the record's span, span in seconds
  /// \param ifl  1 position, 2 position and rate \param pv  ncm positions, then ncm rates
  static void interp(const double* buf, const double t[2], int ncf, int ncm, int na, int ifl, double* pv);
  /// Integer and fractional part; the fraction is never negative.
  static void split(double tt, double fr[2]);

 private:
  static constexpr std::size_t kRecordBytes = 8144;
  static constexpr std::size_t kRecordDoubles = kRecordBytes / 8;
  static constexpr std::size_t kSpacedBytes = 32576;
  /// Place of a body's series in a record: first double (from 1), coefficients, sub-intervals.
  struct Series {
    int first = 0, coefficients = 0, granules = 0;
  };

  bool m_open();
  bool m_openConfigured();
  bool m_parseHeader(const char* header);
  bool m_findStride();
  bool m_readRecord(std::streamoff at, char* out);
  bool m_loadBlock(double day);
  bool m_earth(const double jd[2], double* earth, double* moon);
  void m_complain(const char* format, ...) __attribute__((format(printf, 2, 3)));

  std::string m_file;
  std::ifstream m_stream;
  bool m_tried = false, m_usable = false;
  bool m_warned = false;
  // header
  double m_start = 0.0, m_end = 0.0, m_span = 0.0;  ///< Julian dates, days
  double m_au = 0.0, m_emrat = 0.0;
  int m_version = 0;
  std::array<Series, 13> m_series;
  std::array<char, kRecordBytes> m_constants{};  ///< second header record: values of the constants
  std::size_t m_stride = 0;
  // data block in memory
  long m_block = -1;
  std::vector<double> m_data;
};

}  // namespace tarvio
