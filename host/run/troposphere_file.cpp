// Writes blocks of SINEX TRO in fixed columns.

#include "run/troposphere_file.h"

#include <cmath>
#include <numbers>

#include "gnx/geodesy.h"
#include "text/printed.h"

namespace gnx {

namespace {

constexpr double kInterval_s = 300.0;
constexpr double kMillimetres = 1e3;

/// "2020:177:00300"
std::string sinexTime(const GpsTime& t) {
  const int year = toCalendar(t).year;
  const double since = t - toGpsTime({year, 1, 1, 0, 0, 0.0});
  const int day = static_cast<int>(since / 86400.0);
  return printed("%04d:%03d:%05d", year, day + 1, static_cast<int>(std::lround(since - day * 86400.0)));
}

std::string block(const char* name, const std::string& rows) {
  return std::string("+") + name + "\n" + rows + "-" + name + "\n";
}

std::string description(const TroposphereSite& site) {
  return block("TROP/DESCRIPTION",
               "*_________KEYWORD____________ ___VALUES(S)______________________________________\n"
               " TROPO PARAMETER NAMES         TROTOT STDDEV\n"
               " TROPO PARAMETER UNITS          1e+03  1e+03\n"
               " TROPO PARAMETER WIDTH              6      6\n" +
                   printed(" TROPO SAMPLING INTERVAL      %.0f\n", kInterval_s) +
                   printed(" ELEVATION CUTOFF ANGLE       %.0f\n", site.cutoff_deg) +
                   " TIME SYSTEM                  G\n");
}

std::string siteBlocks(const TroposphereSite& site, const ZenithDelays& delays) {
  constexpr double kDegree = std::numbers::pi / 180.0;
  const Geodetic place = toGeodetic(delays.position());
  const Vector3& x = delays.position();
  const std::string first = sinexTime(delays.all().front().time), last = sinexTime(delays.all().back().time);
  const double longitude = std::fmod(place.longitude / kDegree + 360.0, 360.0);
  std::string text =
      block("SITE/ID", "*STATION__ PT __DOMES__ T _STATION_DESCRIPTION__ _LONGITUDE _LATITUDE_ _HGT_ELI_\n" +
                           printed(" %-9s  A           P %-22s %10.6f %10.6f %9.3f\n", site.name.c_str(),
                                   site.name.c_str(), longitude, place.latitude / kDegree, place.height));
  text += block("SITE/COORDINATES",
                "*STATION__ PT SOLN T __DATA_START__ __DATA_END____ __STA_X_____ __STA_Y_____ __STA_Z_____ "
                "SYSTEM REMRK\n" +
                    printed(" %-9s  A    1 P %s %s %12.3f %12.3f %12.3f %-6s GNX\n", site.name.c_str(),
                            first.c_str(), last.c_str(), x[0], x[1], x[2], site.frame.substr(0, 6).c_str()));
  const auto equipment = [&](const char* name, const std::string& type) {
    return block(name, "*STATION__ PT SOLN T __DATA_START__ __DATA_END____ ____TYPE____________\n" +
                           printed(" %-9s  A    1 P %s %s %-20s\n", site.name.c_str(), first.c_str(),
                                   last.c_str(), type.substr(0, 20).c_str()));
  };
  return text + equipment("SITE/RECEIVER", site.receiver) + equipment("SITE/ANTENNA", site.antenna);
}

}  // namespace

void ZenithDelays::take(const Solution& solution) {
  if (!solution.solved()) return;
  m_position = solution.position;
  const double beside = std::remainder(secondsOfDay(solution.time), kInterval_s);
  if (std::fabs(beside) > 1e-3) return;
  const ZenithDelaySolution& z = solution.zenith;
  const double total = z.aprioriHydrostatic_m + z.aprioriWet_m + z.correction_m;
  if (total > 0.0) m_delays.push_back({solution.time, total, z.sigma_m});
}

std::string troposphereText(const TroposphereSite& given, const ZenithDelays& delays,
                            const GpsTime& written) {
  if (delays.all().empty()) return "";
  TroposphereSite site = given;
  site.name = site.name.substr(0, 9);
  const std::string first = sinexTime(delays.all().front().time), last = sinexTime(delays.all().back().time);
  std::string text = printed("%%=TRO 2.00 GNX %s GNX %s %s P %s\n", sinexTime(written).c_str(), first.c_str(),
                             last.c_str(), site.name.c_str());
  text += block("FILE/REFERENCE",
                "*INFO_TYPE_________ INFO________________________________________________________\n" +
                    printed(" SOFTWARE            gnx %s\n", GNX_VERSION));
  text += description(site) + siteBlocks(site, delays);
  std::string rows = "*STATION__ ____EPOCH_____ TROTOT STDDEV\n";
  for (const ZenithDelay& z : delays.all())
    rows += printed(" %-9s %s %6.1f %6.1f\n", site.name.c_str(), sinexTime(z.time).c_str(),
                    z.total_m * kMillimetres, z.sigma_m * kMillimetres);
  return text + block("TROP/SOLUTION", rows) + "%=ENDTRO\n";
}

}  // namespace gnx
