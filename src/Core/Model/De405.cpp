/// \file De405.cpp
/// Reference: Standish, JPL Planetary and Lunar Ephemerides DE405/LE405, JPL IOM 312.F-98-048, 1998,
/// and the description of the binary files that are distributed with it.

#include "Core/Model/De405.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Common/Constants.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"

namespace tarvio {
namespace {

constexpr std::size_t kMaxCoefficients = 32;

template <typename T>
T s_take(const char* record, std::size_t offset) {
  T value;
  std::memcpy(&value, record + offset, sizeof value);
  return value;
}

}  // namespace

De405& De405::s_getInstance() {
  static De405 s_Instance;
  return s_Instance;
}

De405::De405(const std::string& file) : m_file(file) {}

void De405::m_complain(const char* format, ...) {
  if (m_warned) return;
  m_warned = true;
  char text[1400];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  Logtrace::m_logPrint("%s", text);
  Logtrace::m_logStatInfo("%s", text);
}

bool De405::m_openConfigured() {
  if (!m_file.empty()) return true;
  const std::string* path = s_tableFile("jpleph");
  if (path == nullptr) {
    m_complain(
        "note: no ephemeris of the Sun is configured (key jpleph), its low-precision formulae serve\n");
    return false;
  }
  m_file = *path;
  return true;
}

bool De405::m_open() {
  if (m_tried) return m_usable;
  m_tried = true;
  if (!m_openConfigured()) return false;
  m_stream.open(m_file, std::ios::binary);
  if (!m_stream) {
    m_complain("ERROR(pleph.c): no jpl file %s\n", m_file.c_str());
    return false;
  }
  std::vector<char> header(kRecordBytes);
  if (!m_readRecord(0, header.data()) || !m_parseHeader(header.data()) || !m_findStride() ||
      !m_readRecord(static_cast<std::streamoff>(m_stride), m_constants.data())) {
    m_complain("ERROR(pleph.c): %s is no DE405 file of this machine's byte order\n", m_file.c_str());
    return false;
  }
  m_data.resize(kRecordDoubles);
  return m_usable = true;
}

bool De405::m_readRecord(std::streamoff at, char* out) {
  m_stream.clear();
  m_stream.seekg(at);
  m_stream.read(out, static_cast<std::streamsize>(kRecordBytes));
  return static_cast<bool>(m_stream);
}

/// Three titles of 84 characters and 400 names of 6 stand in front of the numbers, without padding.
bool De405::m_parseHeader(const char* header) {
  constexpr std::size_t kNumbers = 3 * 84 + 400 * 6;
  m_start = s_take<double>(header, kNumbers);
  m_end = s_take<double>(header, kNumbers + 8);
  m_span = s_take<double>(header, kNumbers + 16);
  m_au = s_take<double>(header, kNumbers + 28);
  m_emrat = s_take<double>(header, kNumbers + 36);
  const std::size_t tables = kNumbers + 44;
  m_version = s_take<int>(header, tables + 144);
  for (std::size_t i = 0; i < m_series.size(); ++i) {
    const std::size_t at = i < 12 ? tables + 12 * i : tables + 148;
    m_series[i] = {s_take<int>(header, at), s_take<int>(header, at + 4), s_take<int>(header, at + 8)};
  }
  if (!(m_span > 0.0) || !(m_end > m_start) || !std::isfinite(m_emrat)) return false;

  for (std::size_t i = 0; i < m_series.size(); ++i) {
    const Series& s = m_series[i];
    if (s.coefficients == 0 || s.granules == 0) continue;  // a file may lack nutations or librations
    const bool sane = s.first >= 3 && s.coefficients >= 2 && s.granules > 0 && s.granules <= 64 &&
                      s.coefficients <= static_cast<int>(kMaxCoefficients);
    const int components = i == 11 ? 2 : 3;
    if (!sane || s.first - 1 + s.coefficients * components * s.granules > static_cast<int>(kRecordDoubles))
      return false;
  }
  return true;
}

bool De405::m_findStride() {
  std::vector<char> record(kRecordBytes);
  for (const std::size_t stride : {kSpacedBytes, kRecordBytes}) {
    if (!m_readRecord(static_cast<std::streamoff>(2 * stride), record.data())) continue;
    const double first = s_take<double>(record.data(), 0), last = s_take<double>(record.data(), 8);
    if (last - first == m_span && first <= m_start && m_start < last) {
      m_stride = stride;
      return true;
    }
  }
  return false;
}

bool De405::m_loadBlock(double day) {
  long block = static_cast<long>((day - m_start) / m_span);
  if (day == m_end) --block;  // the last instant belongs to the last record
  if (block == m_block) return true;
  m_block = -1;
  if (!m_readRecord(static_cast<std::streamoff>(m_stride) * (block + 2),
                    reinterpret_cast<char*>(m_data.data())))
    return false;
  m_block = block;
  return true;
}

void De405::split(double tt, double fr[2]) {
  fr[0] = std::floor(tt);
  fr[1] = tt - fr[0];
}

void De405::interp(const double* buf, const double t[2], int ncf, int ncm, int na, int ifl, double* pv) {
  // Sub-interval and Chebyshev time on it. At the end of the span the last sub-interval serves.
  const double scaled = na * t[0];
  const int granule = scaled >= na ? na - 1 : static_cast<int>(scaled);
  const double tc = 2.0 * (scaled - granule) - 1.0;

  double p[kMaxCoefficients] = {1.0, tc}, v[kMaxCoefficients] = {0.0, 1.0};
  for (int j = 2; j < ncf; ++j) {
    p[j] = 2.0 * tc * p[j - 1] - p[j - 2];
    v[j] = 2.0 * tc * v[j - 1] + 2.0 * p[j - 1] - v[j - 2];
  }
  const double rate = 2.0 * na / t[1];
  for (int i = 0; i < ncm; ++i) {
    const double* c = buf + (granule * ncm + i) * ncf;
    double position = 0.0, velocity = 0.0;
    for (int j = ncf - 1; j >= 0; --j) position += p[j] * c[j];  // small terms first
    for (int j = ncf - 1; j >= 1; --j) velocity += v[j] * c[j];
    pv[i] = position;
    if (ifl > 1) pv[ncm + i] = velocity * rate;
  }
}

bool De405::state(const double jd[2], const int list[12], double pv[13][6], double* nut) {
  if (!m_open()) return false;
  // Records begin at midnight, Julian dates at noon.
  double whole[2], part[2];
  split(jd[0] - 0.5, whole);
  split(jd[1], part);
  const double days = whole[0] + part[0] + 0.5;
  const double fraction = whole[1] + part[1];
  const double carry = std::floor(fraction);
  const double midnight = days + carry, dayPart = fraction - carry;
  if (!(midnight + dayPart >= m_start) || !(midnight + dayPart <= m_end) ||
      !m_loadBlock(midnight + dayPart)) {
    m_complain("Requested JED not within ephemeris limits.\n");
    return false;
  }
  const double t[2] = {((midnight - (m_start + static_cast<double>(m_block) * m_span)) + dayPart) / m_span,
                       m_span * kDay};
  const auto evaluate = [&](std::size_t i, int components, int wanted, double* out) {
    const Series& s = m_series[i];
    if (s.coefficients == 0 || s.granules == 0) return false;
    interp(m_data.data() + s.first - 1, t, s.coefficients, components, s.granules, wanted, out);
    return true;
  };
  bool found = evaluate(10, 3, 2, pv[10]);
  for (std::size_t i = 0; i < 10; ++i)
    if (list[i] > 0) found = evaluate(i, 3, list[i], pv[i]) && found;
  if (list[10] > 0) found = evaluate(11, 2, list[10], nut) && found;
  if (list[11] > 0) found = evaluate(12, 3, list[11], pv[12]) && found;
  return found;
}

bool De405::m_earth(const double jd[2], double* earth, double* moon) {
  int list[12] = {};
  list[2] = list[9] = 2;
  double pv[13][6] = {};
  if (!state(jd, list, pv, nullptr)) return false;
  for (int k = 0; k < 6; ++k) {
    earth[k] = pv[2][k] - pv[9][k] / (1.0 + m_emrat);
    moon[k] = pv[9][k];
  }
  return true;
}

bool De405::pleph(double jd, int target, int centre, double* rrd) {
  std::memset(rrd, 0, 6 * sizeof(double));
  if (target == centre) return true;
  const double when[2] = {jd, 0.0};
  double pv[13][6] = {};
  int list[12] = {};
  if (target == kNutations) {
    list[10] = 2;
    return state(when, list, pv, rrd);
  }
  if (target == kLibrations) {
    list[11] = 2;
    if (!state(when, list, pv, nullptr)) return false;
    std::memcpy(rrd, pv[12], 6 * sizeof(double));
    return true;
  }
  if (target < 1 || target > kEarthMoon || centre < 1 || centre > kEarthMoon) return false;

  double earth[6], moon[6];
  if (!m_earth(when, earth, moon)) return false;
  const auto barycentric = [&](int body, double* out) {
    if (body == kBarycentre) return true;
    if (body == kEarth || body == kMoon) {
      for (int k = 0; k < 6; ++k) out[k] = earth[k] + (body == kMoon ? moon[k] : 0.0);
      return true;
    }
    const std::size_t row =
        body == kSun ? 10 : static_cast<std::size_t>((body == kEarthMoon ? kEarth : body) - 1);
    if (row < 10) list[row] = 2;
    if (!state(when, list, pv, nullptr)) return false;
    std::memcpy(out, pv[row], 6 * sizeof(double));
    return true;
  };
  // The Moon from the Earth is a series of its own: its difference of barycentric states would cost
  // four digits.
  if ((target == kMoon && centre == kEarth) || (target == kEarth && centre == kMoon)) {
    for (int k = 0; k < 6; ++k) rrd[k] = target == kMoon ? moon[k] : -moon[k];
    return true;
  }
  double a[6] = {}, b[6] = {};
  if (!barycentric(target, a) || !barycentric(centre, b)) return false;
  for (int k = 0; k < 6; ++k) rrd[k] = a[k] - b[k];
  return true;
}

}  // namespace tarvio
