#pragma once
/// \file GnssModelItrs.h
/// The precise observation model of one station and epoch.
///
/// Leaves observed minus computed (m), weights (1/m), design rows and the flat lists in the station.
/// A satellite whose code residuals stand out, or a receiver clock that moved, brings another pass, at
/// most eleven in all; a satellite that was taken out stays out for the epoch. Reasons in m_flag:
/// kFlagNoOrbit, kFlagRange.

#include "Core/Model/Model.h"
#include "Core/Model/ModelSteps.h"

namespace tarvio {

class GnssModelItrs : public Model {
 public:
  using Model::Model;
  void gnssModel(bool lcheck) override;
  /// Judges the residuals of a pass.
  /// \param lcheck  true: robust test of all code residuals; false: mean update of the receiver clock
  /// \param rej  1 = satellite out for the remaining passes, kMaxSat entries
  /// \param rclk  receiver clock by system, s; kept in step with the station
  /// \return whether a further pass is needed
  bool m_checkrange(bool lcheck, int* rej, double* rclk);

 protected:
  // Steps that stand apart so that a model of its own can change one.
  virtual ModelInput v_input() const;
  /// Receiver antenna of each system and slot, terrestrial, m.
  virtual void v_receiverPoints(PointTable& point) const;
  /// Displacement of a point of the station, m.
  virtual void v_tides(const SystemFrame& frame, const double* point, double* disp) const;
  virtual void v_troposphere(Tropo_vmf1& tropo, double ah, double aw, Ssat_t& sat) const;
  /// \param d  satellite minus receiver
  virtual void v_windup(const SystemFrame& frame, const Satellite& satellite, const double* d,
                        Ssat_t& sat) const;
  virtual double v_relativity(const double* xv, const double* receiver, double range) const;
  virtual void v_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo) const;

 private:
  /// State of one call.
  struct Pass;
  /// A tide displacement and what it was computed for.
  struct TideEntry {
    int mjd;
    double sod, point[3], disp[3];
  };

  void m_runPass(Pass& pass);
  void m_systemFrame(Pass& pass, int isys);
  void m_displace(Pass& pass, const SystemFrame& frame, const double* point, double* out);
  void m_modelSatellite(Pass& pass, int isat);
  void m_residuals(Pass& pass, int isat, int isys, SatGeometry& geo);
  void m_appendRows(Pass& pass, int isat, int isys);
  bool m_meanClock(double* rclk);
  void m_oceanLoading();
  void m_writeCorrections(Pass& pass);
};

}  // namespace tarvio
