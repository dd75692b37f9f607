// Readers of Earth rotation parameters, on small tables.

#include "Core/Model/Erp.h"

#include <gmock/gmock.h>

#include <string>

#include "Core/Model/Itrs2gcrs.h"
#include "Interface/Controller.h"
#include "support/exit_message.h"
#include "support/files.h"

namespace tarvio {
namespace {

class Erp : public testing::Test {
 protected:
  Erp() {
    Controller::s_getInstance()->m_deploy.m_fileTable["ut1t10"] =
        std::string(GNX_SOURCE_DIR) + "/deploy/ut1t10.txt";
  }
  const support::TemporaryDirectory directory;
};

/// Zonal tides in UT1 at an MJD of GPS time, as the rotation adds them.
double zonal_s(double mjd) {
  double dut, lod, omega;
  const int day = static_cast<int>(mjd);
  Itrs2gcrs().RG_ZONT2("IERS2010", Itrs2gcrs::s_zonalCenturies(day, (mjd - day) * 86400.0 + 51.184), &dut,
                       &lod, &omega);
  return dut;
}

TEST_F(Erp, PredictionsLoseTheZonalTidesAndEndWithTheSecondRecord) {
  ErpRtAdapter erp;
  double eop[3] = {9, 9, 9};
  erp.v_polut1(59025.5, eop);
  EXPECT_EQ(eop[0], 0.0);  // nothing read yet

  const std::string path = directory.write("erp",
                                           "version 2\n  MJD  Xpole Ypole UT1-UTC\n  E-6as\n\n"
                                           "59025.00 140000 430000 -2300000 5\n"
                                           "59026.00 142000 431000 -2304000 5\n");
  erp.v_acqData(path.c_str());
  erp.v_polut1(59025.25, eop);
  const double tides = 0.75 * zonal_s(59025.0) + 0.25 * zonal_s(59026.0);
  EXPECT_THAT(eop, testing::Pointwise(testing::DoubleNear(1e-12), {0.1405, 0.43025, -0.2301 - tides}));
  EXPECT_GT(std::abs(tides), 1e-3);
  erp.v_polut1(59026.01, eop);
  EXPECT_EQ(eop[2], 0.0);
  EXPECT_EXIT_MESSAGE(ErpRtAdapter().v_acqData("/nonexistent/erp"),
                      "f_acqerp.*can not open /nonexistent/erp file");
}

TEST_F(Erp, TableIsInterpolatedForwardWithinItsLimits) {
  Controller::s_getInstance()->m_deploy.m_fileTable["polut1"] =
      directory.write("table",
                      " 59000 59003\n59000 0.10 0.40 -0.20\n59001 0.11 0.41 -0.21\n59002 0.13 0.42 -0.22\n"
                      "59003 0.16 0.43 -0.2\n");
  ErpPostAdapter erp;
  erp.v_acqData(nullptr);
  double eop[3];
  erp.v_polut1(59000.5, eop);
  EXPECT_NEAR(eop[0], 0.105, 1e-12);
  erp.v_polut1(59002.25, eop);
  EXPECT_THAT(eop, testing::Pointwise(testing::DoubleNear(1e-12), {0.1375, 0.4225, -0.215}));
  erp.m_unit = 2.0;
  erp.v_polut1(59003.0, eop);
  EXPECT_NEAR(eop[0], 0.32, 1e-12);
  EXPECT_EXIT_MESSAGE(erp.v_polut1(59000.5, eop), "polut1_linear_interpolate.*epoch before jdsi!");
  EXPECT_EXIT_MESSAGE(erp.v_polut1(59003.5, eop), "table_linear_interpolate.*input beyond table time");
  erp.v_onRecall("polut1");  // from the start again
  erp.v_polut1(59000.5, eop);
  EXPECT_NEAR(eop[0], 0.21, 1e-12);
}

}  // namespace
}  // namespace tarvio
