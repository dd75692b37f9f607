// Times and pairs of key and value from the words of the command line.

#include "commands/option_text.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "geometry/vector3.h"
#include "gnx/error.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// Of the systems that the engine reads, and with a number that one of them gives.
bool isSatellite(const std::string& name) {
  static const std::map<char, int> mostOf = {{'G', 63}, {'R', 32}, {'E', 63}, {'C', 63}, {'J', 10}};
  const auto most = mostOf.find(name.empty() ? ' ' : name[0]);
  return name.size() == 3 && parseSat(name) == name && most != mostOf.end() &&
         std::stoi(name.substr(1)) <= most->second;
}

/// "g5" as "G05"; "" when that makes no name.
std::string repairedSatellite(std::string name) {
  if (name.size() == 2) name.insert(1, "0");
  if (!name.empty()) name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  return isSatellite(name) ? name : "";
}

}  // namespace

GpsTime parseTime(const std::string& text, const std::string& option) {
  Calendar c;
  char separator = 0;
  double second = 0.0;
  const int n = std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%lf", &c.year, &c.month, &c.day, &separator,
                            &c.hour, &c.minute, &second);
  if (n < 6 || c.year < 1980 || c.year > 2099 || c.month < 1 || c.month > 12 || c.day < 1 || c.day > 31 ||
      c.hour < 0 || c.hour > 24 || c.minute < 0 || c.minute > 59 || !(second >= 0.0 && second < 61.0)) {
    throw UsageError(option + " takes a GPS time such as 2020-06-25T01:00:00, not '" + text + "'");
  }
  c.second = second;
  return toGpsTime(c);
}

std::map<std::string, std::string> parseOverrides(const std::vector<std::string>& words) {
  std::map<std::string, std::string> values;
  for (const std::string& word : words) {
    const auto equals = word.find('=');
    if (equals == std::string::npos) throw UsageError("--set takes key=value, not '" + word + "'");
    values[word.substr(0, equals)] = word.substr(equals + 1);
  }
  return values;
}

std::array<double, 3> parsePlace(const std::vector<double>& numbers, const std::string& option) {
  const Vector3 place{numbers.at(0), numbers.at(1), numbers.at(2)};
  constexpr double kNearest_m = 6.3e6, kFarthest_m = 7.5e6;
  const double radius = length(place);
  if (radius >= kNearest_m && radius <= kFarthest_m) return place;
  if (std::fabs(place[0]) <= 90.0 && std::fabs(place[1]) <= 360.0 && std::fabs(place[2]) <= 1e5)
    throw UsageError(option + " takes X Y Z in metres; " + printed("%g %g %g", place[0], place[1], place[2]) +
                     " looks like latitude and longitude in degrees and height: convert them first");
  throw UsageError(option +
                   printed(" lies %.0f km from the centre of the Earth; give X Y Z in metres", radius / 1e3));
}

std::array<double, 3> parseDelta(const std::vector<double>& numbers, const std::string& option) {
  constexpr double kFarthest_m = 20.0;
  const std::array<double, 3> enu{numbers.at(0), numbers.at(1), numbers.at(2)};
  for (const double metres : enu)
    if (!(std::fabs(metres) <= kFarthest_m))
      throw UsageError(option + printed(" takes east, north and up in metres, such as 0 0 0.083; %g lies far "
                                        "from the marker: are these millimetres?",
                                        metres));
  return enu;
}

std::vector<std::string> parseSatellites(const std::vector<std::string>& words, const std::string& option) {
  std::vector<std::string> satellites;
  for (const std::string& word : words) {
    std::istringstream names(word);
    for (std::string name; std::getline(names, name, ',');) {
      if (!isSatellite(name)) {
        const std::string repaired = repairedSatellite(name);
        throw UsageError(
            option + ": '" + name + "' names no satellite; " +
            (repaired.empty() ? "names are such as G05 or E11" : "did you mean " + repaired + "?"));
      }
      satellites.push_back(name);
    }
  }
  return satellites;
}

}  // namespace gnx
