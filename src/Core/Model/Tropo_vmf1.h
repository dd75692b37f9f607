#pragma once
/// \file Tropo_vmf1.h
/// A-priori zenith delays and mapping factors of the neutral atmosphere.
///
/// Pressure, temperature and humidity come from the GPT2w climatology on a 1-degree grid (Boehm et
/// al. 2015), the zenith delays from Saastamoinen (1972, in the form of Davis et al. 1985) and Askne &
/// Nordius (1987, eq. 22), the mapping factors from the Vienna Mapping Functions 1 (Boehm et al. 2006)
/// with the height correction of Niell (1996). Angles radians, lengths metres. The climatology is
/// good to some hPa: 1 hPa of pressure is 2.3 mm of zenith delay; the wet part is good to some
/// centimetres, and its rest is a parameter of the filter.

#include <string>

#include "Core/Model/TropoGrid.h"

namespace tarvio {

/// The atmosphere at one site and time.
struct GptValues {
  double p = 0.0;       ///< pressure, hPa
  double t = 0.0;       ///< temperature, degrees Celsius
  double dt = 0.0;      ///< lapse rate, K/km
  double tm = 0.0;      ///< mean temperature weighted with the vapour pressure, K
  double e = 0.0;       ///< vapour pressure, hPa
  double ah = 0.0;      ///< hydrostatic mapping coefficient at zero height
  double aw = 0.0;      ///< wet mapping coefficient
  double lambda = 0.0;  ///< decrease factor of the vapour pressure
  double undu = 0.0;    ///< geoid undulation, m
};

class Tropo_vmf1 {
 public:
  /// The instance of the process; its first use reads the grid file of key "gptgrd_w" and ends the
  /// process when there is none.
  static Tropo_vmf1& s_getInstance();
  Tropo_vmf1();
  /// Reads the given grid file.
  explicit Tropo_vmf1(const std::string& file);

  /// Zenith delays (m) and mapping coefficients at blh = (latitude, longitude, height).
  void tropvmf1(int mjd, double sod, double* ah, double* aw, double* blh, double* zhd, double* zwd);
  /// \return the wet factor; the hydrostatic one goes to `drymap` when that is not null
  double tropmf(int mjd, double sod, double ah, double aw, double* blh, double elev, double* drymap);

  /// GPT2w at nstat sites. \param hgt  ellipsoidal heights  \param it  1: annual means only
  void gpt2_1w(double mjd, const double* lat, const double* lon, const double* hgt, int nstat, int it,
               GptValues* out) const;
  /// \param zd  zenith distance
  static void vmf1_ht(double ah, double aw, double mjd, double lat, double hgt, double zd, double* vmf1h,
                      double* vmf1w);
  /// \param p  hPa
  static void saasthyd(double p, double lat, double hgt, double* zhd);
  /// \param e  hPa  \param tm  K
  static void asknewet(double e, double tm, double lambda, double* zwd);
  /// |a| with the sign of b; b = 0 counts as positive.
  static double sign(double a, double b);

 private:
  GptValues m_cell(int row, int column, const TropoGrid::Harmonics& time, double hgt) const;

  mutable TropoGrid m_grid;  ///< reads what it is asked for
};

}  // namespace tarvio
