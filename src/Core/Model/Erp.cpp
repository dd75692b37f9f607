// Reads pole and UT1 from tables and predictions, and interpolates them.

#include "Core/Model/Erp.h"

#include <cstdio>

#include "Common/Fatal.h"
#include "Config/Configuration.h"
#include "Core/Model/Itrs2gcrs.h"

namespace tarvio {
namespace {

constexpr double kGpsToTt_day = 0.0005924074074074074;  // 51.184 s

}  // namespace

void ErpRtAdapter::v_acqData(const char* path) {
  constexpr double kUt1Unit_s = 1.0e-7;
  std::ifstream in(path);
  if (!in) s_fatal("f_acqerp", __LINE__, "***ERROR(f_acqerp):can not open %s file to read!\n", path);
  std::string line;
  while (std::getline(in, line))
    if (line.find("MJD") != std::string::npos) break;
  std::getline(in, line);
  std::getline(in, line);
  for (Record& r : m_record) {
    r = Record{};
    double ut1;
    if (!std::getline(in, line) ||
        std::sscanf(line.c_str(), "%lf %lf %lf %lf", &r.mjd, &r.xp, &r.yp, &ut1) != 4)
      s_fatal("f_acqerp", __LINE__, "***ERROR(f_acqerp):two rows of Earth rotation expected in %s!\n", path);
    const double whole = static_cast<int>(r.mjd);
    const double T =
        Itrs2gcrs::s_zonalCenturies(static_cast<int>(whole), (r.mjd - whole + kGpsToTt_day) * kDay);
    double zonal, lod, omega;
    Itrs2gcrs::s_getInstance().RG_ZONT2("IERS2010", T, &zonal, &lod, &omega);
    r.ut1 = ut1 * kUt1Unit_s - zonal;
  }
}

void ErpRtAdapter::v_polut1(double mjd, double* eop) {
  constexpr double kPoleUnit_arcsec = 1.0e-6;
  eop[0] = eop[1] = eop[2] = 0.0;
  const Record &a = m_record[0], &b = m_record[1];
  if (a.mjd == 0.0 || b.mjd == 0.0 || a.mjd == b.mjd || mjd > b.mjd) return;
  const double w = (mjd - a.mjd) / (b.mjd - a.mjd);
  eop[0] = (a.xp + w * (b.xp - a.xp)) * kPoleUnit_arcsec;
  eop[1] = (a.yp + w * (b.yp - a.yp)) * kPoleUnit_arcsec;
  eop[2] = a.ut1 + w * (b.ut1 - a.ut1);
}

void ErpPostAdapter::v_acqData(const char* path) {
  if (path) {
    m_file = path;
  } else {
    m_file = s_requiredTableFile(__func__, __LINE__, "polut1",
                                 "***ERROR(readCommFil):file_table not exist %s item \n");
  }
  m_stream.close();
  m_stream.clear();
  m_stream.open(m_file);
  if (!m_stream)
    s_fatal(__func__, __LINE__, "***ERROR(f_acqerp):can not open %s file to read!\n", m_file.c_str());
  std::string line;
  std::getline(m_stream, line);
  if (std::sscanf(line.c_str(), "%d%d", &m_mjd0, &m_mjd1) != 2 || !m_nextRow(m_row[0]) ||
      !m_nextRow(m_row[1]))
    s_fatal(__func__, __LINE__, "***ERROR(poleut1_linear_interpolate): no data\n");
  m_step = m_row[1].mjd - m_row[0].mjd;
}

bool ErpPostAdapter::m_nextRow(Row& row) {
  std::string line;
  while (std::getline(m_stream, line))
    if (std::sscanf(line.c_str(), "%lf%lf%lf%lf", &row.mjd, &row.value[0], &row.value[1], &row.value[2]) == 4)
      return true;
  return false;
}

void ErpPostAdapter::v_polut1(double mjd, double* eop) {
  constexpr double kTolerance_day = 0.001;
  if (!m_stream.is_open() || m_step <= 0.0)
    s_fatal("poleut1_linear_interpolate", __LINE__, "***ERROR(poleut1_linear_interpolate): no data\n");
  if (mjd < m_mjd0 || mjd > m_mjd1)
    s_fatal("table_linear_interpolate", __LINE__,
            "***ERROR(table_linear_interpolate): input beyond table time\n");
  if (mjd < m_row[0].mjd - kTolerance_day)
    s_fatal("polut1_linear_interpolate", __LINE__,
            "***ERROR(polut1_linear_interpolate):epoch before jdsi!\n");
  while (mjd > m_row[1].mjd + kTolerance_day) {
    m_row[0] = m_row[1];
    if (!m_nextRow(m_row[1]))
      s_fatal("poleut1_linear_interpolate", __LINE__, "***ERROR(poleut1_linear_interpolate): no data\n");
  }
  const double w = (mjd - m_row[0].mjd) / m_step;
  for (int k = 0; k < 3; ++k)
    eop[k] = (m_row[0].value[k] + w * (m_row[1].value[k] - m_row[0].value[k])) * m_unit;
}

void ErpPostAdapter::v_onRecall(std::string key) {
  if (key == "polut1") v_acqData(nullptr);
}

}  // namespace tarvio
