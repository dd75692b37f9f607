// Writes orbits, clocks and biases in the columns of their formats.

#include <algorithm>
#include <cmath>
#include <fstream>

#include "GNX_SDK_ext.h"
#include "gnx/error.h"
#include "gnx/signal.h"
#include "gnx/time.h"
#include "gnx/write.h"
#include "products/stream_products.h"
#include "text/printed.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

constexpr double kNoClock_us = 999999.999999;

std::vector<SatName> listOf(const std::set<SatName>& names) { return {names.begin(), names.end()}; }

class OutputFile {
 public:
  explicit OutputFile(const fs::path& path) : m_path(path), m_out(path, std::ios::binary) {}
  void add(const std::string& text) { m_out << text; }
  void finish() {
    m_out.close();
    if (!m_out)
      throw InputError(m_path.string(), 0, "cannot be written; check the folder and the free space");
  }

 private:
  fs::path m_path;
  std::ofstream m_out;
};

void refuse(const fs::path& file, const std::string& wrong) {
  if (!wrong.empty()) throw InputError(file.string(), 0, wrong);
}

std::string positionLine(const SatName& sat, const ProductPoint* point) {
  if (point == nullptr)
    return printed("P%s%14.6f%14.6f%14.6f%14.6f\n", sat.c_str(), 0.0, 0.0, 0.0, kNoClock_us);
  const Vector3& p = point->position;
  return printed("P%s%14.6f%14.6f%14.6f%14.6f\n", sat.c_str(), p[0] * 1e-3, p[1] * 1e-3, p[2] * 1e-3,
                 point->clock * 1e6);
}

/// "2020:177:00000"; from `up` on a begun second counts whole.
std::string sinexTime(const GpsTime& t, bool up) {
  const std::int64_t seconds = t.seconds + (up && t.fraction > 0.0 ? 1 : 0);
  const Calendar c = toCalendar({seconds, 0.0});
  const std::int64_t sinceNewYear = seconds - toGpsTime({c.year, 1, 1, 0, 0, 0.0}).seconds;
  return printed("%04d:%03d:%05d", c.year, static_cast<int>(sinceNewYear / 86400 + 1),
                 static_cast<int>(sinceNewYear % 86400));
}

}  // namespace

void writeOrbitFile(const fs::path& file, const StreamProducts& products, const ProductFileOptions& options) {
  if (products.orbits.empty()) throw InputError(file.string(), 0, "there is no orbit to write");
  const std::int64_t first = products.orbits.begin()->first, last = products.orbits.rbegin()->first,
                     interval = std::llround(products.orbitInterval_s * 1e3);
  const GpsTime begin = fromMilliseconds(first);
  GNX_EXT::OrbitFile head;
  head.first = {begin.seconds, begin.fraction};
  head.epochs = static_cast<int>((last - first) / interval) + 1;
  head.interval_s = products.orbitInterval_s;
  head.satellites = listOf(products.satellites);
  head.frame = options.frame;
  head.comments = options.comments;
  std::string text;
  refuse(file, GNX_EXT::orbitFileHeader(head, text));
  OutputFile out(file);
  out.add(text);
  for (std::int64_t epoch = first; epoch <= last; epoch += interval) {
    const Calendar c = toCalendar(fromMilliseconds(epoch));
    out.add(printed("*  %4d %2d %2d %2d %2d %11.8f\n", c.year, c.month, c.day, c.hour, c.minute, c.second));
    const auto points = products.orbits.find(epoch);
    for (const SatName& sat : products.satellites) {
      const ProductPoint* point = nullptr;
      if (points != products.orbits.end()) {
        const auto found = points->second.find(sat);
        if (found != points->second.end()) point = &found->second;
      }
      out.add(positionLine(sat, point));
    }
  }
  out.add("EOF\n");
  out.finish();
}

void writeClockFile(const fs::path& file, const StreamProducts& products, const ProductFileOptions& options) {
  if (products.clocks.empty()) throw InputError(file.string(), 0, "there is no clock to write");
  GNX_EXT::ClockFile head;
  head.made = {options.made.seconds, options.made.fraction};
  head.leapSeconds = leapSecondsAtUtc(fromMilliseconds(products.clocks.begin()->first));
  head.satellites = listOf(products.satellites);
  head.comments = options.comments;
  std::string text;
  refuse(file, GNX_EXT::clockFileHeader(head, text));
  OutputFile out(file);
  out.add(text);
  for (const auto& [epoch, clocks] : products.clocks) {
    const Calendar c = toCalendar(fromMilliseconds(epoch));
    for (const auto& [sat, clock] : clocks)
      out.add(printed("AS %-4s %4d %02d %02d %02d %02d%10.6f%3d   %19.12E\n", sat.c_str(), c.year, c.month,
                      c.day, c.hour, c.minute, c.second, 1, clock));
  }
  out.finish();
}

void writeBiasFile(const fs::path& file, const StreamProducts& products, const ProductFileOptions& options) {
  if (products.biases.empty()) throw InputError(file.string(), 0, "there is no bias to write");
  std::vector<const BiasRow*> rows;
  for (const BiasRow& row : products.biases) rows.push_back(&row);
  std::ranges::sort(rows, [](const BiasRow* a, const BiasRow* b) {
    return std::tie(a->sat, a->signal, a->from) < std::tie(b->sat, b->signal, b->from);
  });
  GpsTime first = rows.front()->from, last = rows.front()->until;
  std::set<char> systems;
  for (const BiasRow* row : rows) {
    first = std::min(first, row->from);
    last = std::max(last, row->until);
    systems.insert(row->sat[0]);
  }
  OutputFile out(file);
  out.add(printed("%%=BIA 1.00 QVA %s QVA %s %s A %08zu\n", sinexTime(options.made, false).c_str(),
                  sinexTime(first, false).c_str(), sinexTime(last, true).c_str(), rows.size()));
  for (const std::string& comment : options.comments) out.add("* " + comment + "\n");
  out.add(
      "+BIAS/DESCRIPTION\n BIAS_MODE                               ABSOLUTE\n"
      " TIME_SYSTEM                             G\n");
  for (const char system : systems)
    for (const auto& [one, two] : clockReferences(system)) {
      out.add(
          printed(" SATELLITE_CLOCK_REFERENCE_OBSERVABLES   %c  %s  %s\n", system, one.c_str(), two.c_str()));
      break;
    }
  out.add(
      "-BIAS/DESCRIPTION\n+BIAS/SOLUTION\n"
      "*BIAS SVN_ PRN STATION__ OBS1 OBS2 BIAS_START____ BIAS_END______ UNIT __ESTIMATED_VALUE____ "
      "_STD_DEV___\n");
  for (const BiasRow* row : rows)
    out.add(printed(" OSB  %-4s %-3s %-9s %-4s %-4s %-14s %-14s %-4s %21.6f %11.6f\n", "", row->sat.c_str(),
                    "", row->signal.c_str(), "", sinexTime(row->from, false).c_str(),
                    sinexTime(row->until, true).c_str(), "ns", row->value * 1e9, 0.0));
  out.add("-BIAS/SOLUTION\n%=ENDBIA\n");
  out.finish();
}

}  // namespace gnx
