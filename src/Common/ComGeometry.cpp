// Geodetic and local coordinates, rotations, products of small vectors.

#include "Common/ComGeometry.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

namespace {

constexpr double kWgs84A = 6378137.0;
constexpr double kWgs84E2 = 0.006694379990141316;

struct Ellipsoid {
  double m_a, m_e2;
};

Ellipsoid s_ellipsoid(double a, double b) {
  if (a == 0.0 && b == 0.0) return {kWgs84A, kWgs84E2};
  if (b <= 6.0e6) {
    const double f = b == 0.0 ? 0.0 : 1.0 / b;
    return {a, f * (2.0 - f)};
  }
  return {a, 1.0 - (b / a) * (b / a)};
}

}  // namespace

void blhxyz(const double* blh, double a, double b, double* xyz) {
  const Ellipsoid e = s_ellipsoid(a, b);
  const double sinLat = std::sin(blh[0]), cosLat = std::cos(blh[0]);
  const double normal = e.m_a / std::sqrt(1.0 - e.m_e2 * sinLat * sinLat);
  const double height = blh[2], lon = blh[1];
  xyz[0] = (normal + height) * cosLat * std::cos(lon);
  xyz[1] = (normal + height) * cosLat * std::sin(lon);
  xyz[2] = (normal * (1.0 - e.m_e2) + height) * sinLat;
}

void xyzblh(const double* xyz, double scale, double a, double b, double dx, double dy, double dz,
            double* blh) {
  const Ellipsoid e = s_ellipsoid(a, b);
  const long double x = static_cast<long double>(xyz[0]) * scale - dx;
  const long double y = static_cast<long double>(xyz[1]) * scale - dy;
  const long double z = static_cast<long double>(xyz[2]) * scale - dz;
  const long double e2 = e.m_e2, major = e.m_a;
  const long double p = std::sqrt(x * x + y * y);

  // Each round shrinks the error by about e2 (1/150): four reach 1e-9 m for any point outside the
  // core of the Earth, the limit of 20 only ends the centre itself.
  constexpr long double kTolerance = 0.0001L;
  long double lat = std::atan2(z, p * (1.0L - e2)), height = 0.0L;
  for (int round = 0; round < 20; ++round) {
    const long double sinLat = std::sin(lat), cosLat = std::cos(lat);
    const long double root = std::sqrt(1.0L - e2 * sinLat * sinLat);
    const long double normal = major / root;
    // p/cos(lat) - N loses all digits at the poles; this projection on the vertical does not.
    const long double nextHeight = p * cosLat + z * sinLat - major * root;
    const long double nextLat = std::atan2(z + e2 * normal * sinLat, p);
    const long double moved = std::fabs(nextLat - lat) * normal;
    const long double risen = std::fabs(nextHeight - height);
    lat = nextLat;
    height = nextHeight;
    if (moved <= kTolerance && risen <= kTolerance) break;
  }
  blh[0] = static_cast<double>(lat);
  blh[1] = static_cast<double>(std::atan2(y, x));
  blh[2] = static_cast<double>(height);
}

void rot_enu2xyz(double lat, double lon, double rot[3][3]) {
  const double sinLat = std::sin(lat), cosLat = std::cos(lat);
  const double sinLon = std::sin(lon), cosLon = std::cos(lon);
  const double matrix[3][3] = {{-sinLon, -sinLat * cosLon, cosLat * cosLon},
                               {cosLon, -sinLat * sinLon, cosLat * sinLon},
                               {0.0, cosLat, sinLat}};
  std::copy(&matrix[0][0], &matrix[0][0] + 9, &rot[0][0]);
}

void matmpy(const double* a, const double* b, double* c, int m, int k, int n) {
  const int size = m * n;
  if (size <= 0) return;
  double small[36];
  std::vector<double> large;
  double* out = small;
  if (size > 36) {
    large.resize(static_cast<std::size_t>(size));
    out = large.data();
  }
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < n; ++j) {
      double sum = 0.0;
      for (int l = 0; l < k; ++l) sum += a[i * k + l] * b[l * n + j];
      out[i * n + j] = sum;
    }
  }
  std::copy(out, out + size, c);
}

void transpose(const double* a, double* b, int m, int n) {
  if (a != b) {
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) b[j * m + i] = a[i * n + j];
    }
    return;
  }
  const std::vector<double> copy(a, a + m * n);
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < n; ++j) b[j * m + i] = copy[static_cast<std::size_t>(i * n + j)];
  }
}

void cross(const double* a, const double* b, double* c) {
  const double x = a[1] * b[2] - a[2] * b[1];
  const double y = a[2] * b[0] - a[0] * b[2];
  const double z = a[0] * b[1] - a[1] * b[0];
  c[0] = x;
  c[1] = y;
  c[2] = z;
}

double dot(int n, const double* a, const double* b) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

void unit_vector(int n, const double* v, double* u, double* length) {
  const double norm = std::sqrt(dot(n, v, v));
  for (int i = 0; i < n; ++i) u[i] = norm > 0.0 ? v[i] / norm : 0.0;
  if (length != nullptr) *length = norm;
}

double distance(const double* a, const double* b) {
  const double d[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
  return std::sqrt(dot(3, d, d));
}

void xyz2rtn(const double* xv, double* radial, double* along, double* cross_track) {
  unit_vector(3, xv, radial, nullptr);
  cross(xv, xv + 3, cross_track);
  unit_vector(3, cross_track, cross_track, nullptr);
  cross(cross_track, radial, along);
}

void betau(const double* xv, const double* sun, double* beta, double* mu) {
  double normal[3], r[3], v[3], s[3];
  cross(xv, xv + 3, normal);
  unit_vector(3, normal, normal, nullptr);
  unit_vector(3, xv, r, nullptr);
  unit_vector(3, xv + 3, v, nullptr);
  unit_vector(3, sun, s, nullptr);
  *beta = kPi / 2.0 - std::acos(std::clamp(dot(3, normal, s), -1.0, 1.0));
  const double cosBeta = std::cos(*beta);
  const double ratio = cosBeta == 0.0 ? 0.0 : dot(3, r, s) / cosBeta;
  double angle = std::acos(std::clamp(ratio, -1.0, 1.0));
  if (dot(3, v, s) > dot(3, r, s) * dot(3, v, r)) angle = -angle;
  angle -= kPi;
  while (angle < 0.0) angle += 2.0 * kPi;
  while (angle >= 2.0 * kPi) angle -= 2.0 * kPi;
  *mu = angle;
}

// Series in e^2 of the meridian arc, to e^10: better than 1e-4 m (Bomford, Geodesy).
double GetX(double lat) {
  const double e2 = kWgs84E2, e4 = e2 * e2, e6 = e4 * e2, e8 = e4 * e4, e10 = e8 * e2;
  const double a0 = 1.0 + 3.0 / 4.0 * e2 + 45.0 / 64.0 * e4 + 175.0 / 256.0 * e6 + 11025.0 / 16384.0 * e8 +
                    43659.0 / 65536.0 * e10;
  const double a2 =
      3.0 / 4.0 * e2 + 15.0 / 16.0 * e4 + 525.0 / 512.0 * e6 + 2205.0 / 2048.0 * e8 + 72765.0 / 65536.0 * e10;
  const double a4 = 15.0 / 64.0 * e4 + 105.0 / 256.0 * e6 + 2205.0 / 4096.0 * e8 + 10395.0 / 16384.0 * e10;
  const double a6 = 35.0 / 512.0 * e6 + 315.0 / 2048.0 * e8 + 31185.0 / 131072.0 * e10;
  const double a8 = 315.0 / 16384.0 * e8 + 3465.0 / 65536.0 * e10;
  return kWgs84A * (1.0 - e2) *
         (a0 * lat - a2 / 2.0 * std::sin(2.0 * lat) + a4 / 4.0 * std::sin(4.0 * lat) -
          a6 / 6.0 * std::sin(6.0 * lat) + a8 / 8.0 * std::sin(8.0 * lat));
}

void bl2Gaussxy(double lat, double lon, double lon0, double* x, double* y) {
  const double sinLat = std::sin(lat), cosLat = std::cos(lat);
  const double t = std::tan(lat), t2 = t * t, t4 = t2 * t2;
  const double eta2 = kWgs84E2 / (1.0 - kWgs84E2) * cosLat * cosLat;
  const double normal = kWgs84A / std::sqrt(1.0 - kWgs84E2 * sinLat * sinLat);
  const double m = cosLat * (lon - lon0), m2 = m * m;
  *x = GetX(lat) + normal * t *
                       (m2 / 2.0 + m2 * m2 / 24.0 * (5.0 - t2 + 9.0 * eta2 + 4.0 * eta2 * eta2) +
                        m2 * m2 * m2 / 720.0 * (61.0 - 58.0 * t2 + t4));
  *y = normal * (m + m * m2 / 6.0 * (1.0 - t2 + eta2) +
                 m * m2 * m2 / 120.0 * (5.0 - 18.0 * t2 + t4 + 14.0 * eta2 - 58.0 * eta2 * t2));
}

}  // namespace tarvio
