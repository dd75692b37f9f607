#pragma once
/// \file Satallite.h
/// The global, station-independent row of a satellite. The file's spelling is the system's own.

#include <map>
#include <string>

#include "Common/Constants.h"
#include "Records/Antatx.h"

namespace tarvio {

struct Satellite : Antatx {
  double m_pco[kFreq][3] = {};  ///< antenna offset per used slot, body frame, metres
  double m_xscf[3] = {}, m_yscf[3] = {}, m_zscf[3] = {};  ///< body axes, terrestrial frame
  double m_freq[kFreq] = {};                              ///< carrier frequency per used slot, Hz
  std::string m_block;                                    ///< block name, e.g. "BLOCK IIF"
  double m_ifc[2] = {};                                   ///< ionosphere-free factors a, b of a*P1 - b*P2
  std::map<std::string, double> m_freqMap;                ///< frequency name to Hz
  double m_xyz[6] = {};  ///< orbit of the epoch, m and m/s, terrestrial frame; 0 = none
  double m_clk = 0.0;    ///< clock of the epoch, s; exactly 0 = none
  int m_channel = 0;     ///< GLONASS frequency channel
};

}  // namespace tarvio
