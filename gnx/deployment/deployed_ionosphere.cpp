// Reads how a deployment treats the ionosphere.

#include "deployment/deployed_ionosphere.h"

#include <sstream>

#include "text/json_file.h"
#include "text/printed.h"

namespace gnx {

DeployedIonosphere deployedIonosphere(const std::filesystem::path& deployment) {
  const Json::Value common = readJsonFile(deployment / "ppp.json")["common"];
  const auto text = [&](const char* key) {
    return common.isObject() ? plainValue(common[key]) : std::string();
  };
  DeployedIonosphere deployed;
  deployed.free = text("obscomb").ends_with("IF");
  deployed.estimated = !deployed.free && text("ionmodel").find("ION_EST") != std::string::npos;
  std::istringstream prior(text("ionpri"));
  std::string word;
  double sigma = 0.0;
  if (deployed.estimated && prior >> word >> sigma && word == "ION_WALK") deployed.sigma_m = sigma;
  return deployed;
}

std::string uselessMaps(const DeployedIonosphere& deployed) {
  constexpr double kFree_m = 10.0;
  if (deployed.free)
    return "maps of the ionosphere have no effect on ionosphere-free combinations; leave them out, or take "
           "the "
           "frequencies by themselves (obscomb RAW)";
  if (deployed.sigma_m && *deployed.sigma_m > kFree_m)
    return printed(
        "maps of the ionosphere have next to no effect: the deployment takes a new slant delay as unknown "
        "to %g m; make it with --ionosphere-sigma 2, say",
        *deployed.sigma_m);
  return {};
}

}  // namespace gnx
