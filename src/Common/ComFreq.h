#pragma once
/// \file ComFreq.h
/// Systems, their letters and carrier frequencies: the one place that knows them.

#include <string>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

/// Frequency of a name for a system letter (C, E, G, J, R); ends the process when unknown.
void getfreq(char csys, const char* name, int channel, double* freq);
/// Frequency of a name for a system index, B included; 0.0 for S, ends the process when the name is
/// unknown for the system.
double freqbysys(int isys, int channel, const char* name);
/// First row whose text contains the name, else -1.
int index_freq(const char (*table)[4], int count, const char* name);
/// First row (of `width` characters) that equals `text` over strlen(text); count 0: -1, < 0: 0.
int pointer_charstr(int count, int width, const char* table, const char* text);
int pointer_string(int count, const std::string* table, const std::string& text);
int index_string(const char* text, char c);
/// Position of a system's letter in SYS, -1 for any other character.
constexpr int s_systemIndex(char letter) {
  for (int i = 0; SYS[i] != '\0'; ++i)
    if (SYS[i] == letter) return i;
  return -1;
}
/// System letter of a type word such as "GPS", "BD2"; ' ' when unknown.
char csys_bytype(const std::string& type);
/// Name of a satellite in the second table: "B06" for C06 of type letter B.
std::string getcprn_bytype(const std::string& cprn, char type);
/// The first two non-zero of the first `n` values (slots), false when there are fewer.
bool getTwoIndexOfValidObs(const double* values, int n, int* i, int* j);
int getNoZeroCount(const double* values, int n);
double m2stec(double metres, double freq);

/// Whether all n entries equal a value.
bool all(const int* values, int n, int value);
}  // namespace tarvio
