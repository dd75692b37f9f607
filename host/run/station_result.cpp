// Turns the covariance of the last position into an ellipse, and prints the coordinate.

#include "run/station_result.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "run/named_solutions.h"
#include "run/solution_files.h"
#include "text/fields.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
/// Of 95 %: root of the chi-square of two dimensions, and of one.
constexpr double kPlane95 = 2.4477, kLine95 = 1.9600;

/// Covariance in east, north, up of xx, yy, zz, xy, yz, zx.
std::array<Vector3, 3> inLocalAxes(const std::array<double, 6>& c, const Geodetic& place) {
  const std::array<Vector3, 3> rows{Vector3{c[0], c[3], c[5]}, Vector3{c[3], c[1], c[4]},
                                    Vector3{c[5], c[4], c[2]}};
  std::array<Vector3, 3> half{}, local{};
  for (std::size_t i = 0; i < 3; ++i) half[i] = toEastNorthUp(rows[i], place);
  for (std::size_t k = 0; k < 3; ++k) {
    const Vector3 turned = toEastNorthUp({half[0][k], half[1][k], half[2][k]}, place);
    for (std::size_t i = 0; i < 3; ++i) local[i][k] = turned[i];
  }
  return local;
}

void setEllipse(StationResult& result, const std::array<Vector3, 3>& enu) {
  for (std::size_t i = 0; i < 3; ++i) result.sigma[i] = std::sqrt(std::max(0.0, enu[i][i]));
  const double east = enu[0][0], north = enu[1][1], mixed = enu[0][1];
  const double mean = 0.5 * (east + north), spread = std::hypot(0.5 * (north - east), mixed);
  result.major_m = kPlane95 * std::sqrt(std::max(0.0, mean + spread));
  result.minor_m = kPlane95 * std::sqrt(std::max(0.0, mean - spread));
  result.azimuth_deg = 0.5 * std::atan2(2.0 * mixed, north - east) / kDegree;
  if (result.azimuth_deg < 0.0) result.azimuth_deg += 180.0;
  result.height95_m = kLine95 * result.sigma[2];
}

}  // namespace

double yearOf(const GpsTime& time) {
  const int year = toCalendar(time).year;
  const GpsTime begin = toGpsTime({year, 1, 1, 0, 0, 0.0}), end = toGpsTime({year + 1, 1, 1, 0, 0, 0.0});
  return year + (time - begin) / (end - begin);
}

std::string frameOf(const RunPlan& plan) {
  if (plan.broadcastOnly) return "WGS 84 (broadcast)";
  if (plan.sp3.empty()) return "that of the corrections";
  TextReader in(plan.sp3.front());
  std::string_view line;
  constexpr std::size_t kColumn = 46, kWidth = 5;  // "IGb14" in the first line of an SP3 file
  const std::string name(in.next(line) ? trim(column(line, kColumn, kWidth)) : "");
  return name.empty() ? "that of the orbits" : name;
}

std::optional<StationResult> stationResult(const RunPlan& plan, const std::vector<SolutionEpoch>& epochs) {
  const auto last = std::find_if(epochs.rbegin(), epochs.rend(), isSolved);
  if (plan.mode != "static" || last == epochs.rend()) return std::nullopt;
  StationResult result;
  result.station = stationWord(plan.obs.front());
  result.frame = frameOf(plan);
  result.time = last->time;
  result.position = last->xyz;
  result.status = last->status;
  result.epochs = static_cast<std::size_t>(std::ranges::count_if(epochs, isSolved));
  result.hasSigmas = last->covariance[0] > 0.0;
  if (result.hasSigmas) setEllipse(result, inLocalAxes(last->covariance, toGeodetic(result.position)));
  return result;
}

std::string formatStation(const StationResult& r) {
  const Geodetic place = toGeodetic(r.position);
  std::string text =
      printed("position            %.4f %.4f %.4f m, marker of %s, frame %s, epoch %.4f\n", r.position[0],
              r.position[1], r.position[2], r.station.c_str(), r.frame.c_str(), yearOf(r.time));
  text += printed("                    latitude %.9f, longitude %.9f degrees, ellipsoidal height %.4f m\n",
                  place.latitude / kDegree, place.longitude / kDegree, place.height);
  if (r.hasSigmas)
    text += printed(
        "  with 95 %%         within an ellipse of %.4f x %.4f m, major axis at %.0f degrees from north; "
        "height within %.4f m\n",
        r.major_m, r.minor_m, r.azimuth_deg, r.height95_m);
  return text;
}

void writeStationTable(const std::filesystem::path& file, const StationResult& r) {
  const Geodetic place = toGeodetic(r.position);
  std::string text =
      "station,time_gpst,epoch_year,frame,x_m,y_m,z_m,latitude_deg,longitude_deg,height_m,sigma_east_m,"
      "sigma_north_m,sigma_up_m,major95_m,minor95_m,azimuth_deg,height95_m,status,epochs\n";
  text += printed("%s,%s,%.5f,%s,%.4f,%.4f,%.4f,%.10f,%.10f,%.4f", r.station.c_str(),
                  formatTime(r.time).c_str(), yearOf(r.time), r.frame.c_str(), r.position[0], r.position[1],
                  r.position[2], place.latitude / kDegree, place.longitude / kDegree, place.height);
  if (r.hasSigmas)
    text += printed(",%.5f,%.5f,%.5f,%.5f,%.5f,%.1f,%.5f", r.sigma[0], r.sigma[1], r.sigma[2], r.major_m,
                    r.minor_m, r.azimuth_deg, r.height95_m);
  else text += ",,,,,,,";
  text += printed(",%d,%zu\n", r.status, r.epochs);
  writeTextFile(file, text);
}

}  // namespace gnx
