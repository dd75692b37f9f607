// Times and pairs of key and value from the words of the command line.

#include "commands/option_text.h"

#include <cstdio>

#include "gnx/error.h"

namespace gnx {

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

}  // namespace gnx
