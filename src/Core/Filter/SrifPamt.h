#pragma once
/// \file SrifPamt.h
/// The record of one parameter, and its slot in the table of live records.

#include "Common/Constants.h"

namespace tarvio {

/// Slots of a satellite in SrifFilter::m_pmtab; the first are the ambiguities of the frequency slots.
enum ParameterSlot : int {
  kSlotIon = kFreq,  ///< slant ionosphere
  kParameterSlots
};

struct SrifPamt {
  int ista = -1;    ///< station, -1 none
  int isat = -1;    ///< satellite row, -1 none
  int ifreq = -1;   ///< slot in m_freqUsed
  int ifreq2 = -1;  ///< second slot
  int ipar = 0;     ///< column
  int isys = -1;    ///< system index
  int iamb = 0;
  int iupd = 0;         ///< 1: the time update moves xini by phi*dx
  int nuse = 0;         ///< observations that used it since the last time update
  int iflag = 0;        ///< ambiguities: ArcFlag, how the arc began
  double qinv = 0.0;    ///< 1/q; noise over dt is q*sqrt(dt)
  double phi = 0.0;     ///< transition factor
  double tpiece = 0.0;  ///< length of a piecewise-constant interval, s; 0 = noise at every epoch
  double lam = 1.0;     ///< ambiguity to metres
  double ptime0 = 0.0, ptime1 = 0.0;  ///< interval, fractional MJD; ambiguities: last use
  char pname[64] = "";
  double xini = 0.0;  ///< a-priori value
  double xest = 0.0;  ///< estimate, xini + dx
  double xsig = 0.0;  ///< formal sigma, only from m_genxsig
  double dx = 0.0;    ///< last correction
  double elevsum = 0.0;
  double ratio = 0.0;
  SrifPamt* pold = nullptr;  ///< DIA: the record that this one replaces for the moment
  int iold = -1;             ///< its column
  int isel = -1;             ///< ambiguity resolution: place among the candidates
};

}  // namespace tarvio
