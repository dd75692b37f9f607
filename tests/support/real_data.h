#pragma once
// Real data sets and how to run them.

#include "support/simulated_files.h"

namespace gnx::test {

using support::realFile;

/// Antenna, troposphere and ocean loading files of the data, ambiguities float.
inline ReplayOptions realRun(const std::filesystem::path& out, const std::string& mode) {
  ReplayOptions o = replayInto(out, mode);
  o.deploy.antex = realFile("antex/igs14_2134.atx.gz");
  o.deploy.grid = realFile("tropo/gpt2_1w.grd.gz");
  o.deploy.blq = realFile("tides/ocean_loading.blq");
  o.deploy.resolution = false;
  return o;
}

/// Station ESBC, 24 h, 30 s, with its truth; corrections are still to be chosen.
inline ReplayOptions esbc(const std::filesystem::path& out, const std::string& mode) {
  ReplayOptions o = realRun(out, mode);
  o.plan.obs = {realFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz")};
  o.plan.nav = {realFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_MN.rnx.gz")};
  o.reference = {3582104.7625, 532590.1800, 5232755.1407};
  return o;
}

inline void useProducts(ReplayOptions& o) {
  o.plan.sp3 = {realFile("esbc_2020177/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"),
                realFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz")};
  o.plan.clk = {realFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz")};
}
inline void useStream(ReplayOptions& o) {
  o.plan.ssr = {realFile("esbc_2020177/corrections_grg.ssr.gz")};
  o.deploy.refpoint = "CoM_ITRF";
}

}  // namespace gnx::test
