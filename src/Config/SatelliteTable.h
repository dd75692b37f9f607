#pragma once
/// \file SatelliteTable.h
/// Rows, systems and carriers of the configured satellites. Unknown is -1 everywhere.

#include <string>

#include "Common/Constants.h"

namespace tarvio {

struct Satellite;

/// Row of a satellite name in `m_cprn`.
int s_satRow(const char* cprn);
/// System index of a satellite row; with the flag from `m_cprn` (one BeiDou), else from `m_sysname` (BDS-2
/// and BDS-3 apart).
int index_sys(bool flag, int isat);
bool check_sys(bool flag, int isat, int isys);
/// Carrier of a frequency name for a satellite row, Hz.
double freqbytp(int isat, const char* name);
/// Fills m_freq, m_freqMap, m_ifc of a satellite; `isys` selects the slot tables.
void get_freq(Satellite& sat, const std::string& cprn, int isys, int count, const char (*names)[4]);
/// Slots of the ionosphere-free pair of a system within its used frequencies.
void s_ifSlots(int isys, int* fq1, int* fq2);
std::string get_wl_tag_forinput(char csys);
/// 1 when one of the first `m_nfreqObs` values is not zero.
int bbo_hasobs(int isys, const double* obs);
int bbo_sel_avaobs(int isys, const double* obs);
/// Whether the observations of a satellite hold what `uobs` asks for under combination `cobs`.
bool validSatObs(const char* uobs, const char* cobs, const double* obs, int isat, int ifreq);
/// The same for "IF" on slots 0 and 1 of a single array.
bool validSatObs(const char* uobs, const char* cobs, const double* obs, int ifreq);
/// Ionospheric delay of a slant content (TECU) on a frequency of a satellite row, m.
double stec2m(double stec, int isat, const char* name);
/// Whether all rows of one system in an array by satellite row equal a value.
bool linit(const int* values, int isys, int value);

}  // namespace tarvio
