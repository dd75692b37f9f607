#pragma once
/// \file Antatx.h
/// Antenna record: phase-centre offsets of one receiver or satellite antenna from an ANTEX file.

#include <map>
#include <string>
#include <vector>

#include "Common/Constants.h"

namespace tarvio {

/// Offsets in metres, [system][slot][3]. Receiver: east, north, up. Satellite: x, y, z of the body.
using OffsetTable = double[kSys][kFreq][3];

struct Antatx {
  virtual ~Antatx() = default;

  int m_nfreqAtx = 0;  ///< "# OF FREQUENCIES"
  char m_anttype[32] = "";
  char m_serial[32] = "";
  double m_zen1 = 0.0, m_zen2 = 0.0, m_dzen = 0.0, m_dazi = 0.0;  ///< degrees
  int m_nzen = 0, m_nazi = 0;
  OffsetTable m_offset = {};
  char m_tag[kSys][kFreq][4] = {};  ///< frequency name of a slot that was found in the file, else ""
  double m_default[3] = {};         ///< the first block found: fallback of a receiver's slots
  /// The mean over the azimuths, then rows by azimuth from 0 to 360 degrees where the file has them all;
  /// metres.
  std::vector<double> m_pattern[kSys][kFreq];
  std::vector<double> m_defaultPattern;  ///< that of m_default

  void m_resetMem();
  /// Looks one antenna up in the file of key "antpcv". \return 1 on success, else 0.
  /// \param cprn  satellite name, or "SITE" for a receiver
  /// \param nfreq, tags  frequency slots wanted, by system
  /// \param jd0, jd1  the block must be valid from jd0 to jd1 (MJD, GPS time)
  /// \param anttype  20-character type; "ANTNONE" gives zero offsets without reading
  /// \param pco  satellite offsets by slot [kFreq][3], metres; may be null
  int m_getAnt(const char* cprn, const int* nfreq, const char (*tags)[kFreq][4], double jd0, double jd1,
               const char* anttype, const char* serial, double (*pco)[3]);
  int m_rdatx(const char* cprn, const int* nfreq, const char (*tags)[kFreq][4], double jd0, double jd1);

  /// What the pattern of a slot adds to a distance, m: linear between the nodes, the end value outside; 0
  /// without a pattern. Angles in degrees; without azimuth, or without rows, the mean over the azimuths.
  double m_patternAt(int isys, int slot, double zenith) const;
  double m_patternAt(int isys, int slot, double zenith, double azimuth) const;
  /// Pattern corrections by contract: all zero. Models add m_patternAt where the deployment asks for it.
  static void s_getAntPcv(const Antatx& receiver, const Antatx& satellite, double zenith, double azimuth,
                          double nadir, double pcv[kSys][kFreq]);
  /// Normalises a receiver antenna type by the name table of key "antnam". \return 1 on success.
  static int s_antnam(const char* anttype, const char* sitname, char* out);
  /// One satellite's record of the file of key "satnav" at `jd` (MJD). Ends the process when missing.
  /// Outputs may be null. `svn` 4, `block` 21, `cospar` 16 characters at least.
  static void s_rdSvnav(const char* cprn, double jd, char* svn, double* mass, int* number, double* offset,
                        char* block, char* cospar);
  /// The same; \return whether the file knows the satellite at that time.
  static bool s_findSvnav(const char* cprn, double jd, char* svn, double* mass, int* number, double* offset,
                          char* block, char* cospar);
  /// Expands a compact fixed-column format ("%3s%*2c%4d") into one character a column: the
  /// conversion letter, upper case where a field begins, "." for a skipped column ("Sss..Dddd").
  /// An unknown length ends the process. `out` holds 256 characters.
  static void s_checkdata(const char* fmt, char* out);
  /// ANTEX frequency code ("G01") to its tag ("L1") and one or two system indices (-1 = none).
  static void isys_byttype(std::string& tag, const char* code, int* isys1, int* isys2);
};

}  // namespace tarvio
