#pragma once
/// \file ComGeometry.h
/// Geometry: angles radians, lengths metres, terrestrial frame. Matrices here are row-major.

namespace tarvio {

/// Geodetic (latitude, longitude, height) to ECEF. a = b = 0: WGS 84; b <= 6.0e6: inverse
/// flattening; else semi-minor axis.
void blhxyz(const double* blh, double a, double b, double* xyz);
/// ECEF times `scale` (to metres) minus the offsets to geodetic, WGS 84, by iteration to 0.1 mm.
/// dx, dy, dz shift the origin and are 0 for the system's own use.
void xyzblh(const double* xyz, double scale, double a, double b, double dx, double dy, double dz,
            double* blh);
/// Rotation from east, north, up to the terrestrial frame at (lat, lon).
void rot_enu2xyz(double lat, double lon, double rot[3][3]);
/// C (m x n) = A (m x k) B (k x n), row-major; C may be A or B.
void matmpy(const double* a, const double* b, double* c, int m, int k, int n);
/// B (n x m) = transpose of A (m x n), row-major; B may be A.
void transpose(const double* a, double* b, int m, int n);
void cross(const double* a, const double* b, double* c);
double dot(int n, const double* a, const double* b);
/// Unit vector of v (n elements); the length goes to `length` when not null.
void unit_vector(int n, const double* v, double* u, double* length);
double distance(const double* a, const double* b);
/// Unit vectors radial, along-track, cross-track of a state of six doubles.
void xyz2rtn(const double* xv, double* radial, double* along, double* cross_track);
/// Sun elevation above the orbit plane and orbit angle from orbit midnight in [0, 2 pi), radians.
void betau(const double* xv, const double* sun, double* beta, double* mu);
/// Gauss-Krueger projection (northing, easting) about the central meridian lon0, WGS 84.
void bl2Gaussxy(double lat, double lon, double lon0, double* x, double* y);
/// Meridian arc length from the equator, metres.
double GetX(double lat);

}  // namespace tarvio
