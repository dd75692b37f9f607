// Names of signals: by the system, by the other types of the file and by the receiver's maker.

#include "formats/rinex2_types.h"

namespace gnx {

namespace {

/// Attributes of the signals that can be tracked in several ways.
struct Attributes {
  char civilL2, pilotL5;                       ///< GPS, QZSS
  char galileoFirst, galileoPilot, galileoE6;  ///< E1; E5a, E5b, E5; E6
};

/// X, data and pilot together, stands for all where the maker is not known: codes differ by some
/// nanoseconds, aligned phases by nothing.
Attributes attributesOf(std::string_view receiver) {
  if (receiver.starts_with("LEICA")) return {'S', 'Q', 'C', 'Q', 'C'};
  if (receiver.starts_with("SEPT")) return {'L', 'Q', 'C', 'Q', 'C'};
  return {'X', 'X', 'X', 'X', 'X'};
}

char gpsAttribute(char kind, char band, const Tracking& t) {
  const Attributes a = attributesOf(t.receiver);
  if (kind == 'P') return band == '1' || band == '2' ? 'W' : '\0';
  if (band == '1') return kind == 'C' || t.civilFirst ? 'C' : 'W';
  if (band == '2') return kind == 'C' || !t.preciseSecond ? a.civilL2 : 'W';
  return band == '5' ? a.pilotL5 : '\0';
}

char glonassAttribute(char kind, char band, const Tracking& t) {
  if (band != '1' && band != '2') return '\0';
  if (kind == 'P') return 'P';
  return kind == 'C' || (band == '1' ? t.civilFirst : !t.preciseSecond) ? 'C' : 'P';
}

char galileoAttribute(char kind, char band, const Tracking& t) {
  const Attributes a = attributesOf(t.receiver);
  if (kind == 'P') return '\0';
  if (band == '1') return a.galileoFirst;
  if (band == '6') return a.galileoE6;
  return band == '5' || band == '7' || band == '8' ? a.galileoPilot : '\0';
}

char qzssAttribute(char kind, char band, const Tracking& t) {
  const Attributes a = attributesOf(t.receiver);
  if (kind == 'P') return '\0';
  if (band == '1') return 'C';
  if (band == '2') return a.civilL2;
  return band == '5' ? a.pilotL5 : band == '6' ? 'X' : '\0';
}

char attribute(char system, char kind, char band, const Tracking& t) {
  switch (system) {
    case 'G':
      return gpsAttribute(kind, band, t);
    case 'R':
      return glonassAttribute(kind, band, t);
    case 'E':
      return galileoAttribute(kind, band, t);
    case 'J':
      return qzssAttribute(kind, band, t);
    case 'C':
      return kind != 'P' && std::string_view("1267").find(band) != std::string_view::npos ? 'I' : '\0';
    default:
      return '\0';
  }
}

}  // namespace

std::string rinex3Type(char system, std::string_view type, const Tracking& tracking) {
  if (type.size() != 2) return "";
  const char kind = type[0];
  char band = type[1];
  const char found = attribute(system, kind, band, tracking);
  if (found == '\0') return "";
  if (system == 'C' && band == '1') band = '2';  // B1I, which older writers count as the first band
  return {kind == 'P' ? 'C' : kind, band, found};
}

}  // namespace gnx
