// Writes observations and messages in the columns of version 3.04.

#include <cmath>

#include "gnx/error.h"
#include "gnx/read.h"
#include "gnx/time.h"
#include "gnx/write.h"
#include "text/printed.h"

namespace gnx {

namespace {

/// Content of 60 columns and the label behind it.
std::string headerLine(const std::string& content, const char* label) {
  return printed("%-60.60s%-20s\n", content.c_str(), label);
}

std::string observationHeader(const ObsHeader& h, const GpsTime& first) {
  std::string text = headerLine("     3.04           OBSERVATION DATA    M", "RINEX VERSION / TYPE");
  text += headerLine("gnx                                     " + printed("%.19s", "                   "),
                     "PGM / RUN BY / DATE");
  text += headerLine(h.marker, "MARKER NAME");
  text += headerLine("", "OBSERVER / AGENCY");
  text += headerLine(printed("%-20s%-20.20s%-20s", "0", h.receiver.c_str(), "0"), "REC # / TYPE / VERS");
  text += headerLine(printed("%-20s%-20.20s", "0", h.antenna.c_str()), "ANT # / TYPE");
  text += headerLine(printed("%14.4f%14.4f%14.4f", h.position[0], h.position[1], h.position[2]),
                     "APPROX POSITION XYZ");
  text += headerLine(printed("%14.4f%14.4f%14.4f", h.antennaDelta[0], h.antennaDelta[1], h.antennaDelta[2]),
                     "ANTENNA: DELTA H/E/N");
  for (const auto& [system, types] : h.types) {
    constexpr std::size_t kPerLine = 13;
    for (std::size_t start = 0; start < types.size(); start += kPerLine) {
      std::string content = start == 0 ? printed("%c  %3zu", system, types.size()) : std::string(6, ' ');
      for (std::size_t i = start; i < types.size() && i < start + kPerLine; ++i) content += " " + types[i];
      text += headerLine(content, "SYS / # / OBS TYPES");
    }
  }
  if (h.interval > 0.0) text += headerLine(printed("%10.3f", h.interval), "INTERVAL");
  const Calendar c = toCalendar(first);
  text +=
      headerLine(printed("%6d%6d%6d%6d%6d%13.7f     GPS", c.year, c.month, c.day, c.hour, c.minute, c.second),
                 "TIME OF FIRST OBS");
  for (const auto& [system, types] : h.types) text += headerLine(std::string(1, system), "SYS / PHASE SHIFT");
  return text + headerLine("", "END OF HEADER");
}

/// Value, indicator and signal strength of one observation: 16 columns.
std::string observationField(double value, int indicator, int strength) {
  if (value == 0.0 || !(std::abs(value) < 1e9)) return std::string(16, ' ');
  std::string text = printed("%14.3f", value);
  text += indicator > 0 ? static_cast<char>('0' + indicator % 10) : ' ';
  text += strength > 0 ? static_cast<char>('0' + strength) : ' ';
  return text;
}

/// Signal strength of RINEX, 1 to 9 in steps of 6 dB-Hz; 0 = unknown.
int strengthIndicator(double snr) {
  if (snr <= 0.0) return 0;
  return std::min(9, std::max(1, static_cast<int>(snr / 6.0)));
}

std::string observationLine(const SatObs& sat, const std::vector<std::string>& types) {
  std::string line = sat.sat;
  for (const std::string& type : types) {
    std::string field(16, ' ');
    for (const SignalObs& signal : sat.signals) {
      if (type.compare(1, 2, signal.code.data(), 2) != 0) continue;
      switch (type[0]) {
        case 'C':
          field = observationField(signal.range, 0, strengthIndicator(signal.snr));
          break;
        case 'L':
          field = observationField(signal.phase, signal.lli, strengthIndicator(signal.snr));
          break;
        case 'D':
          field = observationField(signal.doppler, 0, 0);
          break;
        case 'S':
          field = observationField(signal.snr, 0, 0);
          break;
        default:
          break;
      }
    }
    line += field;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

std::string fourNumbers(double a, double b, double c, double d) {
  return printed("    %19.12e%19.12e%19.12e%19.12e\n", a, b, c, d);
}

double accuracyMetres(int index) {
  return index >= 0 && index < 15 ? kAccuracyLimits_m[static_cast<std::size_t>(index)] : 8192.0;
}

std::string navigationRecord(const BroadcastEph& e) {
  const char system = e.sat[0];
  const double offset = system == 'C' ? kBdtOffset : 0.0;
  const Calendar c = toCalendar(e.toc + -offset);
  int week = 0;
  const double toe = secondsOfWeek(e.toe + -offset, &week);
  int sentWeek = 0;
  const double sent = secondsOfWeek(e.transmission + -offset, &sentWeek);
  constexpr int kBdtWeekZero = 1356;
  const double ownWeek = system == 'C' ? week - kBdtWeekZero : week;

  std::string text =
      printed("%s %04d %02d %02d %02d %02d %02d%19.12e%19.12e%19.12e\n", e.sat.c_str(), c.year, c.month,
              c.day, c.hour, c.minute, static_cast<int>(c.second), e.af[0], e.af[1], e.af[2]);
  text += fourNumbers(e.iode, e.crs, e.deltaN, e.m0);
  text += fourNumbers(e.cuc, e.e, e.cus, e.sqrtA);
  text += fourNumbers(toe, e.cic, e.omega0, e.cis);
  text += fourNumbers(e.i0, e.crc, e.omega, e.omegaDot);
  text += fourNumbers(e.idot, e.code, ownWeek, e.l2flag);
  const bool pair = system == 'E' || system == 'C';
  text += fourNumbers(accuracyMetres(e.accuracy), e.health, e.tgd[0], pair ? e.tgd[1] : e.iodc);
  text += fourNumbers(sent, system == 'C' ? e.iodc : system == 'E' ? 0.0 : 4.0, 0.0, 0.0);
  return text;
}

}  // namespace

RinexObsWriter::RinexObsWriter(const std::filesystem::path& path, const ObsHeader& header,
                               const GpsTime& first)
    : m_path(path), m_header(header), m_out(path, std::ios::binary) {
  m_out << observationHeader(header, first);
  check();
}

void RinexObsWriter::write(const ObsEpoch& epoch) {
  const Calendar c = toCalendar(epoch.time);
  m_out << printed("> %04d %02d %02d %02d %02d%11.7f  0%3zu\n", c.year, c.month, c.day, c.hour, c.minute,
                   c.second, epoch.sats.size());
  for (const SatObs& sat : epoch.sats) {
    const auto types = m_header.types.find(sat.sat[0]);
    m_out << observationLine(sat, types == m_header.types.end() ? std::vector<std::string>{} : types->second);
  }
  check();
}

void RinexObsWriter::check() {
  if (!m_out) throw InputError(m_path.string(), 0, "cannot be written; check the folder and the free space");
}

void writeRinexNav(const std::filesystem::path& path, const std::vector<BroadcastEph>& messages) {
  std::ofstream out(path, std::ios::binary);
  out << headerLine("     3.04           N: GNSS NAV DATA    M: MIXED", "RINEX VERSION / TYPE")
      << headerLine("gnx", "PGM / RUN BY / DATE")
      << headerLine(printed("%6d", messages.empty() ? 18 : leapSecondsAtUtc(messages.front().toe)),
                    "LEAP SECONDS")
      << headerLine("", "END OF HEADER");
  for (const BroadcastEph& message : messages) out << navigationRecord(message);
  out.flush();
  if (!out) throw InputError(path.string(), 0, "cannot be written; check the folder and the free space");
}

}  // namespace gnx
