#pragma once
/// \file FixAgreement.h
/// Integers that searches of successive epochs agree on. A level's integers are differences against a
/// reference that changes; here each satellite has a count of its own, in a datum that the satellites of its
/// system share, so that an unbroken arc keeps one integer whatever the reference is.

#include "Common/Constants.h"

namespace tarvio {

class FixAgreement {
 public:
  /// What a search of this epoch has found for a satellite.
  struct Found {
    bool is = false;
    int integer = 0;   ///< cycles against the reference
    double arc = 0.0;  ///< begin of the arc, tells it from others of the satellite
  };

  /// Takes the integers of a system. \param found  by satellite row, the reference among them with 0
  /// \param t  s, rising \return how many satellites were found with another integer than before
  int m_update(int isys, const Found (&found)[kMaxSat], double t);
  /// Whether the arc has had the same integer for so many seconds, up to now.
  bool m_agrees(int isat, double arc, double t, double seconds) const;
  /// Whether the last search found it at all.
  bool m_isHeld(int isat, double arc, double t) const;

 private:
  struct Held {
    int isys = -1;
    long integer = 0;  ///< in the datum of the system
    double arc = 0.0, since = 0.0, last = 0.0;
  };
  bool m_holds(int isat, double arc, double t) const;

  Held m_held[kMaxSat];
};

}  // namespace tarvio
