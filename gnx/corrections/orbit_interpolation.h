#pragma once
/// \file orbit_interpolation.h
/// Precise orbits between their epochs, as differences to a broadcast message.
///
/// Positions move by 26,000 km a revolution, and a polynomial through eleven of them 15 minutes apart is
/// good to a millimetre in the middle of its span, but to decimetres in its first and last interval. The
/// differences to a broadcast message, along the axes of that orbit, move by metres: seven points are
/// good to 2 mm everywhere, also at the ends of a file. (Against 5-minute orbits of 2020-06-25
/// thinned to 15 minutes, rms of GPS/Galileo/BeiDou: middle 1.2/1.1/1.1 mm, which is the rounding of
/// the files, first and last interval 2.0/2.4/1.7 mm.) Beyond the ends five points serve, for the
/// rounding of the files grows with the degree: 21 mm rms 5 and 10 minutes behind the last point.
/// At the epochs of the product the differences are exact.

#include <optional>
#include <vector>

#include "formats/product_records.h"
#include "gnx/corrections.h"
#include "gnx/signal.h"

namespace gnx {

/// The orbit of one satellite.
class OrbitInterpolator {
 public:
  struct Delta {
    Vector3 value{}, rate{};  ///< broadcast minus product along radial, along, cross; m, m/s
  };

  /// \param points         in order of time
  /// \param interval       nominal spacing, s; a wider one is a gap
  /// \param first, last    epochs at which the product as a whole begins and ends
  /// \param extrapolation  s; how far an orbit may be continued beyond the product's ends
  OrbitInterpolator(std::vector<OrbitPoint> points, double interval, const GpsTime& first,
                    const GpsTime& last, double extrapolation);

  /// Difference at t; nothing in a gap, beyond the ends, or with fewer than five points in a row.
  std::optional<Delta> difference(const BroadcastEph& eph, const GpsTime& t);

 private:
  struct Window {
    std::size_t first = 0, count = 0;
    bool operator==(const Window&) const = default;
  };

  std::optional<Window> windowAt(const GpsTime& t) const;
  void load(const BroadcastEph& eph, const Window& window);
  Vector3 evaluate(double t) const;

  std::vector<OrbitPoint> m_points;
  std::vector<std::size_t> m_segment;  ///< index of the first point of the row without gap
  double m_interval, m_extrapolation;
  GpsTime m_first, m_last;

  // The differences at the points of the window last used: they serve all epochs of an interval.
  const BroadcastEph* m_eph = nullptr;
  Window m_window;
  GpsTime m_origin;
  std::vector<double> m_time, m_scale;
  std::vector<Vector3> m_difference;
};

}  // namespace gnx
