// A host that calls the engine's entry points itself, with nothing but the public adaptation in front of
// them.

#include "GNX_SDK.h"
#include "GNX_SDK_ext.h"
#include "geometry/vector3.h"
#include "gnx/adapt.h"
#include "gnx/read.h"
#include "support/child.h"
#include "support/real_data.h"

namespace gnx::test {
namespace {

/// RMS of the errors of the last twelve hours, m: east, north, up.
Vector3 tailRms(const std::vector<Vector3>& positions, const Vector3& truth) {
  const Geodetic place = toGeodetic(truth);
  Vector3 sum{};
  const std::size_t half = positions.size() / 2;
  for (std::size_t k = half; k < positions.size(); ++k) {
    const Vector3 enu = toEastNorthUp(minus(positions[k], truth), place);
    for (std::size_t i = 0; i < 3; ++i)
      sum[i] += enu[i] * enu[i] / static_cast<double>(positions.size() - half);
  }
  for (double& s : sum) s = std::sqrt(s);
  return sum;
}

/// In the directory of the deployment.
std::vector<Vector3> positionsOfPlainHost(const Deployment& site, const ReplayOptions& o) {
  const auto files = o.plan;
  ObservationReader observations(files.obs.front());
  ObsEpoch epoch;
  observations.next(epoch);
  const GpsTime first = epoch.time;
  const auto clock = [](const GpsTime& t) { GNX_EXT::setClock(GNX_IO::gpst2utc(toBoundaryTime(t)).time); };
  clock(first);
  EventStream stream = read(InputFiles{files.obs, files.nav, files.sp3, files.clk, {}, {}},
                            {.deployment = site, .wideLaneBiases = true});
  const BoundaryNumbers numbers;
  const SignalPlan plan({site.bands(), observations.header().types, {}, {}});
  LinkedBoundary boundary;
  ProductFeed products(
      boundary, numbers, plan, {},
      reversedSatellites(parseSatelliteTable(support::readFile(site.file("satnav"))), tableTime(first)),
      false);
  ObservationFeed epochs(boundary, numbers, plan, {});
  MessageStore messages;
  const ObsHeader& header = observations.header();
  GNX_IO::sta_t station = stationRecord(site.settings, header);
  GNX_initialize("static", &station, site.settings.cutoff_deg, site.settings.interval_s);
  std::vector<Vector3> positions;
  GNX_EXT::addResultListener([&](const GNX_EXT::Result& r) {
    positions.push_back({r.position[0], r.position[1], r.position[2]});
  });
  for (Event event; stream.next(event);) {
    clock(std::max(event.time, first));
    if (const auto* eph = std::get_if<BroadcastEph>(&event.record)) {
      if (const auto* taken = messages.take(*eph, event.time, std::max(event.time, first)))
        products.feed(*taken);
    } else if (const auto* glonass = std::get_if<GlonassEph>(&event.record)) {
      products.feed(*glonass);
    } else if (const auto* batch = std::get_if<CorrectionBatch>(&event.record)) {
      products.feed(*batch);
    } else if (auto* observed = std::get_if<ObsEpoch>(&event.record)) {
      epochs.feed(*observed);  // patterns are the engine's in this deployment
    }
  }
  GNX_finilize();
  return positions;
}

TEST(PlainHost, WithThePublicAdaptationIsAsGoodAsTheProgram) {
  GNX_REQUIRE_DATA("esbc_2020177");
  const RunDirectory directory;
  ReplayOptions o = esbc(directory.path() / "run", "static");
  useProducts(o);
  o.plan.wideLaneBiases = true;
  o.deploy.resolution = true;
  const ReplayResult run = runReplay(o);
  std::vector<Vector3> ofProgram;
  for (const SolutionEpoch& e : run.epochs) ofProgram.push_back(e.xyz);

  const auto site = directory.path() / "site";
  Deployment::open(o.outDir).lend(site);
  const auto child = support::runInChild([&] {
    std::filesystem::current_path(site);
    std::ofstream out("plain.txt");
    out.precision(17);
    for (const Vector3& p : positionsOfPlainHost(Deployment::open("."), o))
      out << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
  });
  ASSERT_EQ(child.status, 0) << child.output.substr(0, 2000);
  std::vector<Vector3> ofHost;
  std::ifstream in(site / "plain.txt");
  for (Vector3 p; in >> p[0] >> p[1] >> p[2];) ofHost.push_back(p);
  ASSERT_EQ(ofHost.size(), ofProgram.size());
  const Vector3 host = tailRms(ofHost, *o.reference), program = tailRms(ofProgram, *o.reference);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_LT(host[i], 1.1 * program[i]) << i;
}

}  // namespace
}  // namespace gnx::test
