#pragma once
// Real data sets and how to run them.

#include <filesystem>
#include <string>

#include "engine/replay.h"
#include "support/files.h"

namespace gnx::test {

inline std::filesystem::path dataDir() { return GNX_DATA_DIR; }
using support::realFile;

using RunDirectory = support::TemporaryDirectory;

/// Antenna, troposphere and ocean loading files of the data.
inline void useRealModels(DeploymentOptions& deploy) {
  deploy.antex = dataDir() / "antex/igs14_trim.atx.gz";
  deploy.grid = dataDir() / "tropo/gpt2_1w.grd.gz";
  deploy.blq = dataDir() / "tides/ocean_loading.blq";
  deploy.resolution = false;
}

/// Station ESBC, 24 h, 30 s, with its truth; corrections are still to be chosen.
inline ReplayOptions esbc(const std::filesystem::path& out, const std::string& mode) {
  ReplayOptions o;
  o.outDir = out;
  o.program = GNX_PROGRAM;
  o.quiet = true;
  useRealModels(o.deploy);
  o.plan.obs = {realFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz")};
  o.plan.nav = {realFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_MN.rnx.gz")};
  o.plan.mode = o.deploy.run.mode = mode;
  o.reference = {3582104.7625, 532590.1800, 5232755.1407};
  return o;
}

inline void useProducts(ReplayOptions& o) {
  o.plan.sp3 = {realFile("esbc_2020177/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"),
                realFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz")};
  o.plan.clk = {realFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz")};
}

}  // namespace gnx::test
