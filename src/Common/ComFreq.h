#pragma once
/// \file ComFreq.h
/// Systems, satellites and carrier frequencies: the one place that knows them.

#include <string>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

struct Satellite;

/// Frequency of a name for a system letter (C, E, G, J, R); ends the process when unknown.
void getfreq(char csys, const char* name, int channel, double* freq);
/// Frequency of a name for a system index, B included; 0.0 for S, ends the process when the name is
/// unknown for the system.
double freqbysys(int isys, int channel, const char* name);
/// Frequency of a name for a satellite row.
double freqbytp(int isat, const char* name);
/// First row whose text contains the name, else -1.
int index_freq(const char (*table)[4], int count, const char* name);
/// First row (of `width` characters) that equals `text` over strlen(text); count 0: -1, < 0: 0.
int pointer_charstr(int count, int width, const char* table, const char* text);
int pointer_string(int count, const std::string* table, const std::string& text);
int index_string(const char* text, char c);
/// System letter of a type word such as "GPS", "BD2"; ' ' when unknown.
char csys_bytype(const std::string& type);
/// System index of a satellite row; with the flag from `m_cprn`, else from `m_sysname`.
int index_sys(bool flag, int isat);
bool check_sys(bool flag, int isat, int isys);
/// Name of a satellite in the second table: "B06" for C06 of type letter B.
std::string getcprn_bytype(const std::string& cprn, char type);
/// Row of a satellite name in `m_cprn`, -1 when missing.
int s_satRow(const char* cprn);
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
/// The first two non-zero of the first `n` values (slots), false when there are fewer.
bool getTwoIndexOfValidObs(const double* values, int n, int* i, int* j);
int getNoZeroCount(const double* values, int n);
double stec2m(double stec, int isat, const char* name);
double m2stec(double metres, double freq);

/// Whether all n entries equal a value.
bool all(const int* values, int n, int value);
/// Whether all rows of one system in an array by satellite row equal a value.
bool linit(const int* values, int isys, int value);

}  // namespace tarvio
