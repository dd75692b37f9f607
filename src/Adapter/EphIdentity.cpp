// Numbers by which a state-space correction names the broadcast message that it was made against.

#include <cmath>
#include <cstdint>

#include "Adapter/BroadcastEphUtils.h"
#include "Common/ComTime.h"
#include "Common/Taiutc.h"

namespace tarvio {

namespace {

/// Packs integers most significant bit first.
class BitWriter {
 public:
  BitWriter(unsigned char* bytes, int capacity) : m_bytes(bytes), m_capacity(8 * capacity) {}

  /// The low `width` bits of round(value), two's complement.
  void append(double value, int width) {
    const double rounded = std::round(value);
    const bool representable = std::fabs(rounded) < 9.0e18;
    const auto bits = static_cast<std::uint64_t>(representable ? static_cast<std::int64_t>(rounded) : 0);
    for (int bit = width - 1; bit >= 0 && m_length < m_capacity; --bit, ++m_length) {
      if ((bits >> bit) & 1U) {
        m_bytes[m_length / 8] = static_cast<unsigned char>(m_bytes[m_length / 8] | (0x80U >> (m_length % 8)));
      }
    }
  }

 private:
  unsigned char* m_bytes;
  int m_capacity;
  int m_length = 0;
};

}  // namespace

int genAode(char sys, int mjd, double sod, double toes, int iode, const GPSEPH*) {
  switch (sys) {
    case 'G':
    case 'J':
    case 'E':
      return iode;
    case 'R': {
      // Quarter hours of the Moscow day (UTC + 3 h): the tb of the GLONASS ICD.
      const int leap = Taiutc::s_getInstance().m_getTaiutc(mjd);
      int day = 0;
      double utc_s = 0.0;
      timinc(mjd, sod, 19.0 - leap, &day, &utc_s);
      return static_cast<int>(std::round(std::fmod(utc_s + 10800.0, kDay) / 900.0));
    }
    case 'C':
      return static_cast<int>(std::round(std::fmod(toes, kDay) / 1800.0)) + 1;
    default:
      return -1;
  }
}

int getbdsiode(const GPSEPH& eph) {
  constexpr int kBytes = 52;  // 411 bits of content, 5 bits of padding
  const double perSemicircle31 = std::exp2(31.0) / kPi;
  const double perSemicircle43 = std::exp2(43.0) / kPi;
  const double per31 = std::exp2(31.0);
  unsigned char content[kBytes] = {};
  BitWriter writer(content, kBytes);
  writer.append(eph.m_idot * perSemicircle43, 14);
  writer.append(eph.m_a2 * std::exp2(66.0), 11);
  writer.append(eph.m_a1 * std::exp2(50.0), 22);
  writer.append(eph.m_a0 * std::exp2(33.0), 24);
  writer.append(eph.m_crs * std::exp2(6.0), 18);
  writer.append(eph.m_dn * perSemicircle43, 16);
  writer.append(eph.m_M0 * perSemicircle31, 32);
  writer.append(eph.m_cuc * per31, 18);
  writer.append(eph.m_e * std::exp2(33.0), 32);
  writer.append(eph.m_cus * per31, 18);
  writer.append(eph.m_roota * std::exp2(19.0), 32);
  writer.append(eph.m_cic * per31, 18);
  writer.append(eph.m_OMEGA0 * perSemicircle31, 32);
  writer.append(eph.m_cis * per31, 18);
  writer.append(eph.m_i0 * perSemicircle31, 32);
  writer.append(eph.m_crc * std::exp2(6.0), 18);
  writer.append(eph.m_omega * perSemicircle31, 32);
  writer.append(eph.m_OMEGADOT * perSemicircle43, 24);
  return static_cast<int>(CRC24(kBytes, content));
}

long CRC24(long n, const unsigned char* data) {
  constexpr unsigned long kPolynomial = 0x1864CFB;
  unsigned long crc = 0;
  for (long i = 0; i < n; ++i) {
    crc ^= static_cast<unsigned long>(data[i]) << 16;
    for (int bit = 0; bit < 8; ++bit) {
      crc <<= 1;
      if (crc & 0x1000000UL) crc ^= kPolynomial;
    }
  }
  return static_cast<long>(crc & 0xFFFFFFUL);
}

}  // namespace tarvio
