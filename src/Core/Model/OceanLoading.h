#pragma once
/// \file OceanLoading.h
/// Displacement of a site by ocean loading: 11 given constituents are interpolated to 342
/// (D. C. Agnew's method, IERS Conventions 2010, chapter 7.1.2).

#include <array>

#include "Core/Model/TideTables.h"

namespace tarvio {

/// Frequency (cycles/day) and phase (degrees, [0, 360)) of a constituent.
/// \param n  multipliers of tau, s, h, p, N', ps; \param mjd, sod  UTC
void TDFRPH(const int* n, int mjd, double sod, double* freq, double* phase);

/// Second derivatives of a spline through (x, u) with end slopes from parabolas; straight lines for
/// three nodes or fewer. \param work  n doubles
void SPLINE(int n, const double* x, const double* u, double* s, double* work);
/// Value of the spline at y; outside the nodes the value of the nearest end node.
double EVAL(double y, int n, const double* x, const double* u, const double* s);

/// Displacement of a site at n epochs from (mjd, sod), UTC, `step` seconds apart. Seconds of
/// difference between UTC and GPS time matter below 0.05 mm.
/// \param tamp  11 columns M2 S2 N2 K2 K1 O1 P1 Q1 Mf Mm Ssa; rows 0..2 amplitudes (m) of up, west,
///              south; rows 3..5 phases (rad, lag positive)
/// \param out   n triples east, north, up, MILLIMETRES
void hardisp(int mjd, double sod, const double tamp[6][11], int n, double step, double* out);

}  // namespace tarvio
