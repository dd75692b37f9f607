#pragma once
/// \file LevelForm.h
/// What a level makes of the filter's ambiguities, on separate frequencies or of ionosphere-free
/// observations.
///
/// The filter holds undifferenced ambiguities x. A level combines those of a satellite and searches, against
/// the reference satellite r of the system, the integers
///
///   n = (sum a_k x_k - sum a_k x_rk) / u - (W - W_r) / e - (bias - bias_r)
///
///   form                           a_k                       u        W, e
///   separate, (extra-)wide-lane    1, -1                     1        0, 1
///   separate, first frequency      1                         1        0, 1
///   separate, narrow-lane          alpha c/f1, beta c/f2     lam_NL   wide-lane, f1/f2 - 1
///   ionosphere-free, wide-lane     1                         1        0, 1
///   ionosphere-free, narrow-lane   1                         lam_NL   wide-lane, f1/f2 - 1
///
/// alpha = f1^2/(f1^2 - f2^2), beta = -f2^2/(f1^2 - f2^2), lam_NL = c/(f1 + f2): with the wide-lane known the
/// ionosphere-free ambiguity is lam_NL (N1 + W / (f1/f2 - 1)) (Ge et al. 2008, J. Geodesy 82; Collins et al.
/// 2010, Navigation 57).

#include "Core/Ambfix/LevelEntry.h"

namespace tarvio {

/// Coefficients of the ionosphere-free combination of a satellite's pair, with its narrow-lane:
/// a1 N1 + a2 N2 in metres, a = alpha c/f1 and beta c/f2.
struct NarrowLane {
  double a1 = 0.0, a2 = 0.0;
  double lamNL = 0.0;  ///< m, c/(f1 + f2)
};
NarrowLane s_narrowLane(const Upd_ambconfig& cfg, int isat);

/// The ambiguities of one satellite as a level sees them.
struct Combination {
  int isat = -1, isys = -1;
  const SrifPamt* ambiguity[2] = {};
  double coefficient[2] = {};
  int count = 0;
  double unit = 1.0;      ///< the sum in one cycle of the level: 1, or metres
  double wideLane = 0.0;  ///< cycles
  double excess = 1.0;    ///< wide-lanes in one cycle of the level

  void m_add(const SrifPamt* record, double factor) {
    ambiguity[count] = record;
    coefficient[count++] = factor;
  }
  double m_sum(double SrifPamt::*value) const {
    double sum = 0.0;
    for (int k = 0; k < count; ++k) sum += coefficient[k] * ambiguity[k]->*value;
    return sum;
  }
};

class LevelForm {
 public:
  /// \param lowerFixed  whether the level before must have fixed a satellite
  LevelForm(Level level, const Upd_ambconfig& settings, bool lowerFixed)
      : m_level(level), m_settings(settings), m_lowerFixed(lowerFixed) {}
  virtual ~LevelForm() = default;

  /// Slot of the ambiguity by which a satellite is found, -1 when the system takes no part.
  virtual int v_slot(int isys) const = 0;
  virtual bool v_mayEnter(SrifFilter* filter, int isat) const = 0;
  virtual bool v_mayRefer(SrifFilter* filter, int isat) const { return v_mayEnter(filter, isat); }
  /// Whether a high satellite that the level before has fixed is the better reference.
  virtual bool v_prefersFixedReference() const { return false; }
  /// False when the satellite lacks an ambiguity, a wavelength or the wide-lane.
  virtual bool v_combine(SrifFilter* filter, int isat, Combination& out) const = 0;

  const Level m_level;
  const Upd_ambconfig& m_settings;

 protected:
  const int* m_pair(int isat) const;
  /// Adds the live ambiguity of a slot; false when there is none.
  bool m_addAmbiguity(SrifFilter* filter, int slot, double coefficient, Combination& out) const;
  /// Counts in narrow-lanes that contain the wide-lane on record.
  bool m_setNarrowLane(const SrifFilter* filter, Combination& out) const;

  const bool m_lowerFixed;
};

/// Ambiguities on separate frequencies.
class SeparateForm : public LevelForm {
 public:
  using LevelForm::LevelForm;
  int v_slot(int isys) const override { return m_settings.ambfreq[isys][0]; }
  bool v_mayRefer(SrifFilter* filter, int isat) const override;
  bool v_prefersFixedReference() const override { return true; }
};

class SeparateWideLane : public SeparateForm {
 public:
  using SeparateForm::SeparateForm;
  bool v_mayEnter(SrifFilter* filter, int isat) const override { return v_mayRefer(filter, isat); }
  bool v_combine(SrifFilter* filter, int isat, Combination& out) const override;
};

class SeparateFirstFrequency : public SeparateForm {
 public:
  explicit SeparateFirstFrequency(const Upd_ambconfig& settings)
      : SeparateForm(Level::last, settings, true) {}
  int v_slot(int) const override { return 0; }
  bool v_mayEnter(SrifFilter* filter, int isat) const override;
  bool v_combine(SrifFilter* filter, int isat, Combination& out) const override;
};

class SeparateNarrowLane : public SeparateForm {
 public:
  explicit SeparateNarrowLane(const Upd_ambconfig& settings) : SeparateForm(Level::last, settings, true) {}
  bool v_mayEnter(SrifFilter* filter, int isat) const override;
  bool v_combine(SrifFilter* filter, int isat, Combination& out) const override;
};

/// Ambiguities of ionosphere-free observations: slot 1 a wide-lane in cycles, slot 0 in metres.
class IonosphereFreeForm : public LevelForm {
 public:
  using LevelForm::LevelForm;
  int v_slot(int) const override { return m_level == Level::wideLane ? 1 : 0; }
  bool v_mayEnter(SrifFilter* filter, int isat) const override;
  bool v_combine(SrifFilter* filter, int isat, Combination& out) const override;
};

}  // namespace tarvio
