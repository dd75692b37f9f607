// The observation model with a term left out, to see what it is worth.

#include "Core/Model/GnssModelWithout.h"

#include <algorithm>
#include <cstring>

#include "Config/Configuration.h"

namespace tarvio {

namespace {

constexpr char kSwitch[] = "-without-";

}  // namespace

std::unique_ptr<Model> GnssModelWithout::s_asked(const char* options, const ProductStores* stores,
                                                 Station* sta) {
  if (std::strstr(options, kSwitch) == nullptr) return nullptr;
  return std::make_unique<GnssModelWithout>(options, stores, sta);
}

GnssModelWithout::GnssModelWithout(const char* options, const ProductStores* stores, Station* sta)
    : GnssModelItrs(stores, sta), m_options(options) {}

bool GnssModelWithout::m_without(const char* term) const {
  return m_options.find(std::string(kSwitch) + term) != std::string::npos;
}

ModelInput GnssModelWithout::v_input() const {
  ModelInput input = GnssModelItrs::v_input();
  if (m_without("satoffset")) input.centreOfMass = false;  // orbits are taken for those of the antennas
  return input;
}

void GnssModelWithout::v_receiverPoints(PointTable& point) const {
  static constexpr PointTable kNoOffsets = {};
  s_receiverPoints(s_config(), *m_sta, m_without("recoffset") ? kNoOffsets : m_sta->m_antenu, point);
}

void GnssModelWithout::v_tides(const SystemFrame& frame, const double* point, double* disp) const {
  if (m_without("tides")) std::fill(disp, disp + 3, 0.0);
  else GnssModelItrs::v_tides(frame, point, disp);
}

void GnssModelWithout::v_troposphere(Tropo_vmf1& tropo, double ah, double aw, Ssat_t& sat) const {
  GnssModelItrs::v_troposphere(tropo, ah, aw, sat);
  if (m_without("troposphere")) sat.m_trop = 0.0;
}

void GnssModelWithout::v_windup(const SystemFrame& frame, const Satellite& satellite, const double* d,
                                Ssat_t& sat) const {
  if (m_without("windup")) sat.m_windup = 0.0;
  else GnssModelItrs::v_windup(frame, satellite, d, sat);
}

double GnssModelWithout::v_relativity(const double* xv, const double* receiver, double range) const {
  return m_without("relativity") ? 0.0 : GnssModelItrs::v_relativity(xv, receiver, range);
}

void GnssModelWithout::v_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo) const {
  if (m_without("patterns")) std::fill(std::begin(geo.pcv), std::end(geo.pcv), 0.0);
  else GnssModelItrs::v_antennaPatterns(in, isat, isys, geo);
}

}  // namespace tarvio
