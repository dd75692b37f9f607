#pragma once
/// \file BroadcastEphUtils.h
/// Position, velocity and clock from broadcast messages.

#include <list>
#include <map>
#include <string>

#include "Adapter/EphRecords.h"

namespace tarvio {

class BroadcastEphUtils {
 public:
  BroadcastEphUtils();
  virtual ~BroadcastEphUtils() = default;

  /// Picks a message of a non-GLONASS satellite and evaluates it.
  /// \param flag  "ynn" clock only, "yyn" clock and position, "yyy" all
  /// \param week, sow  GPS time; for B and C the numbers of BDT
  /// \param iode  in: issue wanted, -1 nearest in time, -2 newest within two hours; out: issue used
  /// \return 1 when a message was picked
  virtual int m_brd2xyz(const char* flag, const char* cprn, int week, double sow, double* xv, double* clk,
                        double* dtmin, double* tgd, int* iode);
  virtual int m_gls2xyz(const char* flag, const char* cprn, int week, double sow, double* xv, double* clk,
                        double* dtmin, int* iode);

  void m_geph2xyz(const GPSEPH* eph, const char* flag, int week, double sow, double* xv, double* clk);
  void m_reph2xyz(const GLSEPH* eph, const char* flag, int week, double sow, double* xv, double* clk);
  void glsinit(double* state, const GLSEPH& eph);
  void glsfright(const double* state, double* derivative, const GLSEPH& eph);
  void glsrkf4(double step, double* state, const GLSEPH& eph);
  void pz902wgs84(int mjd, double sod, const double* in, double* out, const char* type);

  std::map<std::string, GPSEPH> m_getCurrentGpsEph(double mjd);
  std::map<std::string, GLSEPH> m_getCurrentGlsEph(double mjd);

  std::map<std::string, std::list<GPSEPH>> m_gnssEph;  ///< newest first, at most two
  std::map<std::string, std::list<GLSEPH>> m_glsEph;
};

/// Issue of data by which a correction finds its broadcast message.
int genAode(char sys, int mjd, double sod, double toes, int iode, const GPSEPH* eph);
/// 24-bit identity of a BDS message by its content.
int getbdsiode(const GPSEPH& eph);
/// CRC-24Q of n bytes, initial value 0.
long CRC24(long n, const unsigned char* data);

}  // namespace tarvio
