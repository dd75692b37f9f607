#pragma once
/// \file PhaseWindup.h
/// Phase windup of a right-hand circularly polarised signal (Wu et al. 1993) and the
/// elevation-dependent code bias of BDS-2.

namespace tarvio {

/// \param first  non-zero at the first use of the satellite, cleared here
/// \param los  satellite minus receiver, terrestrial
/// \param prev, wu  last and present windup, cycles
void phase_windup_itrs(int* first, const double R[3][3], const double rot[3][3], const double* xs,
                       const double* ys, const double* zs, const double* los, double* prev, double* wu);
/// For an inertial line of sight.
void phase_windup(int* first, const double R[3][3], const double rot[3][3], const double* xs,
                  const double* ys, const double* zs, const double* los, double* prev, double* wu);
/// Adds the correction to the code slots (4..7) of a row of eight values. \param elev  radians
void cor_BDScodebias(int isat, double* obs, double elev);
void bds_code_cor(const char* block, int nfreq, const char (*tags)[4], double elevDeg, double* out);
void bdsCodeCorbyElv(int type, double elev, double* out);

}  // namespace tarvio
