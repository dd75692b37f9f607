#pragma once
/// \file UpdAmbconfig.h
/// Settings of one level of the ambiguity resolution.

#include <map>
#include <string>

#include "Common/Constants.h"
#include "Config/AmbiguityLevel.h"

namespace tarvio {

struct Upd_ambconfig {
  std::string m_tag;     ///< of the level
  int m_smooth = 0;      ///< smoothed wide-lanes: 1 average over the arc, 0 value of the epoch
  bool m_mwFix = false;  ///< smoothed wide-lanes are rounded to integers
  int m_fixIfUplayer = 1;
  char m_fixmode[64] = "";         ///< "round" or "lambda"
  char m_updType[64] = "";         ///< "snx" or "comb"
  char m_ambType[64] = "";         ///< "mw", "raw" or "NL"
  double m_cutoff = 0.0;           ///< rad
  double m_minCommonLambda = 0.0;  ///< s
  double m_minCommon = 0.0;        ///< s
  double m_decision[3] = {};
  double m_successRate = 0.0;  ///< critical value of the ratio test
  bool m_fixIndividual = false;
  bool m_updSwitch = false;
  bool m_resolution = false;
  double m_hold[3] = {};                            ///< first value in radians
  int ambfreq[kSys][kFreq];                         ///< slots of the pair per system, -1 unset
  double lamWL[kMaxSat] = {}, lamNL[kMaxSat] = {};  ///< m
  double wlratio[kSys] = {};                        ///< f1/f2 of the pair
  // smoothing file, only with amb_type "mw"
  std::map<char, std::string> m_smoothValue;  ///< combination tokens by system letter
  bool m_ionSwitch = false;
  std::map<char, std::string> m_ionValue;
  std::string m_outfile, m_updfile;

  Upd_ambconfig() {
    for (auto& row : ambfreq)
      for (int& slot : row) slot = -1;
  }
};

}  // namespace tarvio
