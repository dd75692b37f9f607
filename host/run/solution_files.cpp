// Writes epochs as positions, tables or NMEA sentences.

#include "run/solution_files.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gnx/error.h"
#include "gnx/geodesy.h"
#include "gnx/time.h"
#include "run/nmea.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

std::string posLine(const SolutionEpoch& epoch) {
  const Calendar c = toCalendar(epoch.time + 0.0005);  // so that cutting the milliseconds rounds
  std::string line = printed("%04d/%02d/%02d %02d:%02d:%06.3f", c.year, c.month, c.day, c.hour, c.minute,
                             std::floor(c.second * 1000.0) / 1000.0);
  line += printed("%15.4f%15.4f%15.4f", epoch.xyz[0], epoch.xyz[1], epoch.xyz[2]);
  const int quality = epoch.status == kFixedStatus ? 1 : epoch.status == 1 ? 5 : 2;
  line += printed("%4d%4d", quality, satelliteCount(epoch));
  for (const double element : epoch.covariance)
    line += printed(" %8.4f", std::copysign(std::sqrt(std::abs(element)), element));
  return line + printed("%7.2f%7.1f\n", 0.0, epoch.ratio);
}

std::string csvLine(const SolutionEpoch& epoch) {
  int week = 0;
  const double sow = secondsOfWeek(epoch.time, &week);
  const Geodetic g = isSolved(epoch) ? toGeodetic(epoch.xyz) : Geodetic{};
  std::string line = printed("%s,%d,%.3f,%.4f,%.4f,%.4f,%.10f,%.10f,%.4f,", formatTime(epoch.time, 3).c_str(),
                             week, sow, epoch.xyz[0], epoch.xyz[1], epoch.xyz[2], g.latitude * kDegrees,
                             g.longitude * kDegrees, g.height);
  line += printed("%d,%d", epoch.status, epoch.rows);
  for (const int count : epoch.satellites) line += printed(",%d", count);
  return line + printed(",%.2f,%.3f,%d,%.3f,%.3f\n", epoch.pdop, epoch.sigma0, epoch.fixed, epoch.ratio,
                        epoch.milliseconds);
}

}  // namespace

int satelliteCount(const SolutionEpoch& epoch) {
  int total = 0;
  for (const int count : epoch.satellites) total += count;
  return total;
}

bool isSolved(const SolutionEpoch& epoch) {
  return epoch.status > 0 && (epoch.xyz[0] != 0.0 || epoch.xyz[1] != 0.0 || epoch.xyz[2] != 0.0);
}

std::string solutionHeader(SolutionFormat format, const std::vector<std::string>& comments) {
  if (format == SolutionFormat::nmea) return "";
  if (format == SolutionFormat::csv)
    return "time_gpst,week,sow_s,x_m,y_m,z_m,latitude_deg,longitude_deg,height_m,status,rows,sat_G,sat_R,"
           "sat_E,sat_C,sat_B,sat_J,pdop,sigma0,fixed,ratio,milliseconds\n";
  std::string text;
  for (const std::string& comment : comments) text += "% " + comment + "\n";
  return text +
         "%\n"
         "% (x/y/z-ecef=WGS84,Q=1:fix,2:float,5:single,ns=# of satellites)\n"
         "%  GPST                      x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   sdy(m)"
         "   sdz(m)  sdxy(m)  sdyz(m)  sdzx(m) age(s)  ratio\n";
}

std::string solutionText(SolutionFormat format, const SolutionEpoch& epoch) {
  if (format == SolutionFormat::csv) return csvLine(epoch);
  if (!isSolved(epoch)) return "";
  return format == SolutionFormat::nmea ? ggaSentence(epoch) : posLine(epoch);
}

SolutionFile::SolutionFile(const std::filesystem::path& path, SolutionFormat format,
                           const std::vector<std::string>& comments)
    : m_path(path), m_format(format), m_out(path, std::ios::binary) {
  m_out << solutionHeader(format, comments) << std::flush;
  if (!m_out) throw InputError(m_path.string(), 0, "cannot be written; check the folder and the free space");
}

void SolutionFile::write(const SolutionEpoch& epoch) {
  m_out << solutionText(m_format, epoch) << std::flush;
  if (!m_out) throw InputError(m_path.string(), 0, "writing failed; check the free space");
}

}  // namespace gnx
