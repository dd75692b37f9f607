#pragma once
/// \file SolidTides.h
/// Displacement of a site by the solid Earth tide (IERS Conventions 2010, chapter 7.1; Mathews,
/// Dehant, Gipson 1997). Conventional tide free: the permanent tide is not restored.
/// All vectors Earth-fixed, metres. The parts are exported for their published test cases.

namespace tarvio {

/// Whole displacement.
/// \param fhr  hour of day, UTC
/// \param dxtide  displacement, m
void dehanttideinel(const double* xsta, int year, int month, int day, double fhr, const double* xsun,
                    const double* xmon, double* dxtide);

/// Out-of-phase corrections of the diurnal and semi-diurnal band, and the latitude dependence l(1).
/// \param fac2sun, fac2mon  degree-2 factors of the bodies, m
void ST1IDIU(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
             double* xcorsta);
void ST1ISEM(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
             double* xcorsta);
void ST1L1(const double* xsta, const double* xsun, const double* xmon, double fac2sun, double fac2mon,
           double* xcorsta);
/// Frequency dependence in the diurnal and long-period band.
/// \param t  centuries of TT from J2000
void STEP2DIU(const double* xsta, double fhr, double t, double* xcorsta);
void STEP2LON(const double* xsta, double t, double* xcorsta);

}  // namespace tarvio
