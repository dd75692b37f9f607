#pragma once
/// \file Rnxobs.h
/// One epoch of observations as it arrives, and the first quality gate.

#include "Common/Constants.h"

namespace tarvio {

/// Why an observation was rejected (m_flag).
enum RejectReason : int {
  kFlagGood = 0,
  kFlagPartner = 1,  ///< only one usable signal, or a partner is missing
  kFlagEpoch = 2,    ///< the epoch had too few satellites
  kFlagNoIfpb = 3,   ///< no third-frequency bias
  kFlagRange = 4,    ///< removed by the code-residual test of the model
  kFlagCodes = 5,    ///< pseudoranges of the satellite disagree by more than 50 m
  kFlagNoBias = 6,   ///< no code bias for the signal
  kFlagNoOrbit = 8,  ///< no orbit or attitude
};

struct Rnxobs {
  int m_mjd = 0;
  double m_sod = 0.0;
  double m_obs[kMaxSat][kObs] = {};    ///< phases (cycles) 0..3, pseudoranges (m) 4..7; 0 = absent
  double m_dop[kMaxSat][kFreq] = {};   ///< Hz, sign turned
  double m_snr[kMaxSat][kFreq] = {};   ///< dB-Hz
  char m_type[kMaxSat][kObs][4] = {};  ///< "L1C", "C1C" in the order of m_obs
  int m_flag[kMaxSat][kFreq] = {};     ///< RejectReason

  /// Screens the rows of one satellite by the rules of the configured combination.
  /// \return 1 when a flag was raised
  static int s_checkObs(int isat, double* obs, double* dop, double* snr, int* flag);
};

}  // namespace tarvio
