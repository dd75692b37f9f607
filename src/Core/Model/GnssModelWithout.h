#pragma once
/// \file GnssModelWithout.h
/// Development: the precise observation model with terms left out, which shows on real data what a term is
/// worth. Asked for by "-without-TERM" in the option string (Deploy::m_pams), several times if need be. TERM
/// is
///
///   windup        phase windup
///   tides         displacement of the site by tides
///   relativity    periodic clock term and path delay by gravity
///   troposphere   a-priori slant delay; the mapping factors stay
///   satoffset     satellite antenna offsets
///   recoffset     receiver antenna offsets
///   patterns      patterns of both antennas
///
/// The boundary never sets the option string. The single-point solution, which only starts the filter, keeps
/// all terms.

#include <memory>
#include <string>

#include "Core/Model/GnssModelItrs.h"

namespace tarvio {

class GnssModelWithout : public GnssModelItrs {
 public:
  /// Null when the options leave nothing out.
  static std::unique_ptr<Model> s_asked(const char* options, const ProductStores* stores, Station* sta);
  GnssModelWithout(const char* options, const ProductStores* stores, Station* sta);

 protected:
  ModelInput v_input() const override;
  void v_receiverPoints(PointTable& point) const override;
  void v_tides(const SystemFrame& frame, const double* point, double* disp) const override;
  void v_troposphere(Tropo_vmf1& tropo, double ah, double aw, Ssat_t& sat) const override;
  void v_windup(const SystemFrame& frame, const Satellite& satellite, const double* d,
                Ssat_t& sat) const override;
  double v_relativity(const double* xv, const double* receiver, double range) const override;
  void v_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo) const override;

 private:
  bool m_without(const char* term) const;

  std::string m_options;
};

}  // namespace tarvio
