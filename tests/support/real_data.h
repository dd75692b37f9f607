#pragma once
// Real data sets and how to run them.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "engine/replay.h"

namespace gnx::test {

inline std::filesystem::path dataDir() { return GNX_DATA_DIR; }
inline std::string dataFile(const std::string& name) { return (dataDir() / name).string(); }
inline bool haveData(const std::string& folder) { return std::filesystem::exists(dataDir() / folder); }

/// A directory of its own for a test, removed at the end.
class RunDirectory {
 public:
  RunDirectory() {
    static int count = 0;
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ =
        std::filesystem::temp_directory_path() / ("gnx_" + std::string(info->name()) + "_" +
                                                  std::to_string(::getpid()) + "_" + std::to_string(++count));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~RunDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  RunDirectory(const RunDirectory&) = delete;
  RunDirectory& operator=(const RunDirectory&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

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
  o.plan.obs = {dataFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_30S_MO.rnx.gz")};
  o.plan.nav = {dataFile("esbc_2020177/ESBC00DNK_R_20201770000_01D_MN.rnx.gz")};
  o.plan.mode = o.deploy.run.mode = mode;
  o.reference = {3582104.7625, 532590.1800, 5232755.1407};
  return o;
}

inline void useProducts(ReplayOptions& o) {
  o.plan.sp3 = {dataFile("esbc_2020177/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"),
                dataFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz")};
  o.plan.clk = {dataFile("esbc_2020177/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz")};
}

}  // namespace gnx::test
