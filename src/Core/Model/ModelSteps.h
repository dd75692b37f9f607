#pragma once
/// \file ModelSteps.h
/// The steps that the precise and the reduced observation model share.
///
/// Observed minus computed, terrestrial frame, metres:
///
///   code  = (t_r - t_s) c + range + trop + 2 x.v/c + shapiro + pcv
///   range = |d| + (omega/c) (dx y_s - dy x_s),   d = satellite(emission) - receiver
///
/// The satellite stays in the frame of its emission time: the second term of the range is the whole
/// of Earth rotation (Sagnac).

#include "Adapter/OrbitClkAdapter.h"
#include "Common/Constants.h"
#include "Common/ElevationWeight.h"
#include "Config/Deploy.h"
#include "Records/Station.h"

namespace tarvio {

struct ProductStores;
class Tropo_vmf1;

/// Receiver points by system and slot, m.
using PointTable = double[kSys][kFreq][3];

/// What depends on time alone, by system since each has its own receiver clock.
struct SystemFrame {
  int mjd = 0;
  double sod = 0.0;                  ///< GPS time of reception, receiver clock removed
  double R[3][3] = {};               ///< terrestrial to inertial
  double Rdot[3][3] = {};            ///< 1/s
  double xp = 0.0, yp = 0.0;         ///< arcsec
  bool poleKnown = false;            ///< the deployment has records of the pole, else it is zero
  double sun[3] = {}, moon[3] = {};  ///< inertial, m
};

/// Geometry of one satellite at emission.
struct SatGeometry {
  double xv[kFreq][6] = {};  ///< antenna of each slot, m and m/s
  double d[kFreq][3] = {};   ///< satellite minus receiver point, m
  double range[kFreq] = {};  ///< with Earth rotation, m
  double rel[kFreq] = {};    ///< relativity, m
  double pcv[kFreq] = {};    ///< antenna patterns, m
};

/// The station's epoch as the steps see it.
struct ModelInput {
  const Deploy& deploy;
  Station& sta;
  OrbitAdapter* orbits;  ///< null: none
  bool centreOfMass;     ///< orbits are those of the centre of mass, not of the antennas
};

ModelInput s_modelInput(const ProductStores* stores, Station* sta);

/// Whether some used slot holds what the configuration asks for.
bool s_hasObservation(const Deploy& deploy, const Ssat_t& sat, int isat);

/// Clears the results of every row; a satellite without a clock loses its observations.
/// \return entries to provide for in the flat lists
int s_resetSlots(const Deploy& deploy, Station& sta);
/// Flat lists for `count` entries, zeroed; lists that are left over are freed.
void s_allocateLists(Station& sta, int count);
/// Appends an entry to the flat lists.
void s_append(Station& sta, int capacity, double omc, double weight, int isat, int slot, int kind);

/// Receiver antenna of each system and slot; `offsets` from the reference point, ENU, m.
void s_receiverPoints(const Deploy& deploy, const Station& sta, const PointTable& offsets, PointTable& point);
/// Receiver clock of each system, s: other systems carry an offset from the reference system.
void s_clockSeconds(const Deploy& deploy, const Station& sta, double (&rclk)[kSys]);
/// Epoch and rotation of one system; Sun and Moon are left to the caller.
void s_systemTime(const Station& sta, double rclk, SystemFrame& frame);
/// Sun and Moon by the low-precision formulae at the epoch of `frame`.
void s_sunMoon(SystemFrame& frame);

/// Iterates the emission time; fills body axes, geometry and the design row.
/// \return false when there is no orbit or no attitude
bool s_emission(const ModelInput& in, int isat, const SystemFrame& frame, double rclk,
                const double (*point)[3], SatGeometry& geo);
/// Distance with the rotation of the Earth during the travel time, m.
double s_range(const double* d, const double* satellite);
/// Azimuth and elevation of the line of sight.
void s_lineOfSight(const Station& sta, const double* d, double* azim, double* elev);
/// Mapping factors and slant delay at the elevation of the row.
void s_troposphere(const Station& sta, Tropo_vmf1& tropo, int mjd, double sod, double ah, double aw,
                   Ssat_t& sat);
/// Periodic clock term and path delay by gravity, m (IERS Conventions 2010, eq. 11.17).
double s_relativity(const double* xv, const double* receiver, double range);
/// Antenna patterns of the used slots.
void s_antennaPatterns(const ModelInput& in, int isat, int isys, SatGeometry& geo);
/// Code model of one slot without the ionosphere that the filter estimates, m.
double s_codeModel(const ModelInput& in, int isat, int isys, int slot, double rclk, const SatGeometry& geo);
/// Factor of the code noise of a slot, 1 when none is configured.
double s_noiseFactor(const Deploy& deploy, int isys, int slot);

}  // namespace tarvio
