#pragma once
/// \file YawTurns.h
/// Yaw laws of satellites near noon and midnight, as angles alone.
///
/// Angles are degrees. beta: elevation of the Sun above the orbit plane. mu: orbit angle from the
/// midnight point in the sense of motion, in [0, 360). Yaw psi: angle from the along-track direction
/// to the body x axis, right-handed about body z (to the Earth). Nominal yaw has the body x axis
/// toward the Sun: atan2(-tan beta, sin mu); `reversed` blocks away from it: atan2(tan beta, -sin mu).
///
/// References
///   Kouba: A simplified yaw-attitude model for eclipsing GPS satellites, GPS Solutions 13, 2009, and
///     the notes to his routine up to 2014.
///   Dilssner: GPS IIF-1 satellite antenna phase center and attitude modeling, Inside GNSS 9/2010.
///   Dilssner et al.: The GLONASS-M satellite yaw-attitude model, Adv. Space Res. 47, 2011.
///   European GNSS Service Centre: Galileo satellite metadata, attitude law.
///   Wang, Guo, Zhao, Liu: GPS Solutions 22, 2018 (BDS-3 CAST).
///   China Satellite Navigation Office, 2019: BDS-3 attitude (SECM); Yang et al. 2023: its change of sides.

#include <array>
#include <optional>

namespace tarvio {

/// Geometry of an epoch.
struct YawEpoch {
  double t = 0.0;       ///< s since the start of the run
  double beta = 0.0;    ///< deg
  double mu = 0.0;      ///< deg
  double rate = 0.0;    ///< of mu, deg/s
  double cosine = 0.0;  ///< of the angle satellite-geocentre-Sun: near -1 at midnight, +1 at noon
};

enum class KoubaKind { iia, iif, iir, glonass };

/// Constants of a block with noon and midnight turns at a limited rate.
struct KoubaBlock {
  KoubaKind kind = KoubaKind::iia;
  double maxRate = 0.0;     ///< deg/s
  double nightLimit = 0.0;  ///< 180 plus the angular radius of the shadow, deg
  double bias = 0.0;        ///< yaw bias, deg; decides directions alone
};

/// Cosine law between the nominal yaws at both ends of a turn.
struct CosineBlock {
  double betaLimit = 0.0;  ///< deg
  double range = 0.0;      ///< of the angle Sun - Earth-satellite line, deg
  double frequency = 0.0;  ///< rad/s
  /// A turn begins when the satellite is `range` from noon or midnight in orbit angle; else when it is that
  /// far from the line to the Sun, which is later.
  bool byOrbitAngle = false;
};

/// BDS-3 MEO of SECM: nominal yaw of a Sun that comes no nearer to the orbit plane. It changes sides after
/// beta has, as soon as the yaw is small.
struct FrozenBetaBlock {
  double betaLimit = 3.0;     ///< deg
  double changeYaw = 5.0;     ///< sides are changed below this, deg
  double changeRate = 0.055;  ///< deg/s
};

/// Galileo IOV: the Sun's component across the orbit plane is replaced by a smooth profile.
struct IovBlock {
  double betaLimit = 2.0;  ///< deg
  double range = 15.0;     ///< of the angle Sun - Earth-satellite line, deg
};

/// Nominal yaw, deg.
double nominalYaw(double beta, double mu, bool reversed);

/// The recorded turns of one satellite: the last 120, of which the newest serves.
class YawTurns {
 public:
  /// Each law returns by how much the body turns about z against nominal yaw, deg; nothing when the
  /// attitude is nominal.
  std::optional<double> eclips(const KoubaBlock& block, const YawEpoch& epoch);
  std::optional<double> eclips2(const CosineBlock& block, const YawEpoch& epoch);
  std::optional<double> eclips2(const IovBlock& block, const YawEpoch& epoch);
  std::optional<double> frozenBeta(const FrozenBetaBlock& block, const YawEpoch& epoch);

  void reset() { *this = YawTurns(); }
  int count() const { return m_count; }

  struct Turn {
    double start = 0.0, end = 0.0;  ///< s
    double beta = 0.0;              ///< at the opening, deg
  };
  const Turn& turn(int i) const { return m_turns[static_cast<std::size_t>(i)]; }

  template <class Archive>
  void m_fields(Archive& a) {
    a(m_count, m_side, m_changed);
    if (m_count < 0 || m_count > kMaxTurns) m_count = 0;
    a.m_items(m_turns.data(), static_cast<std::size_t>(m_count));
  }

 private:
  static constexpr int kMaxTurns = 120;

  bool mayOpen(double t) const;
  void open(const YawEpoch& epoch, double toCentre, double half);
  const Turn* inForce(double t, double after) const;

  std::array<Turn, kMaxTurns> m_turns{};
  int m_count = 0;
  // of frozenBeta
  double m_side = 0.0;      ///< sign of the beta that is flown; 0: nominal
  double m_changed = -1e9;  ///< when it changed, s
};

}  // namespace tarvio
