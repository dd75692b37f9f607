#pragma once
/// A small configuration made by hand, for tests of parts that read the configuration but not its
/// files: satellite table, frequencies, leap seconds.

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "Common/ComFreq.h"
#include "Common/ComString.h"
#include "Common/Taiutc.h"
#include "Config/SatelliteTable.h"
#include "Interface/Controller.h"

namespace gnx_test {

struct Tables {
  Tables() {
    tarvio::Controller::s_getInstance()->_finalize();
    tarvio::Taiutc& leap = tarvio::Taiutc::s_getInstance();
    leap.m_mjds = {44239, 57204, 57754, 88069};  // 1980 to 2100
    leap.m_taiutc = {19, 36, 37, 37};
    tarvio::s_copyText(deploy().m_obsused, "PHASE CODE");
    tarvio::s_copyText(deploy().m_obscomb, "RAW");
  }
  ~Tables() { tarvio::Controller::s_getInstance()->_finalize(); }

  Tables(const Tables&) = delete;
  Tables& operator=(const Tables&) = delete;

  static tarvio::Controller& controller() { return *tarvio::Controller::s_getInstance(); }
  static tarvio::Deploy& deploy() { return controller().m_deploy; }

  /// Appends a satellite and returns its row; the second name decides the system.
  static int add(const std::string& cprn, const std::string& sysname) {
    const int row = deploy().m_nsat++;
    deploy().m_setRow(row, cprn, sysname);
    deploy().m_satellites.resize(static_cast<std::size_t>(deploy().m_nsat));
    controller().m_signals.m_build(deploy());
    return row;
  }
  static int add(const std::string& cprn) { return add(cprn, cprn); }

  static tarvio::Satellite& satellite(int row) {
    return deploy().m_satellites[static_cast<std::size_t>(row)];
  }
  /// Carriers of a satellite, from the used frequencies of its system.
  static void setCarriers(int row) {
    const tarvio::Deploy& d = deploy();
    const int isys = d.m_sysOfRow(row);
    tarvio::get_freq(satellite(row), d.m_cprn[row], isys, d.m_nfreqUsed[isys], d.m_freqUsed[isys]);
  }
  static std::string name(char letter, int number) { return letter + std::to_string(100 + number).substr(1); }
  /// Satellites 1 to `count` of a system, with their carriers.
  static void addConstellation(char letter, int count) {
    for (int number = 1; number <= count; ++number) setCarriers(add(name(letter, number)));
  }

  /// Observed frequencies of a system; the first `used` of them are used.
  static void frequencies(char letter, int used, std::initializer_list<const char*> names) {
    const int isys = tarvio::index_string(tarvio::SYS, letter);
    for (int n = 0; const char* name : names) {
      tarvio::s_copyText(deploy().m_freqObs[isys][n], name);
      if (n < used) tarvio::s_copyText(deploy().m_freqUsed[isys][n], name);
      ++n;
    }
    deploy().m_nfreqObs[isys] = static_cast<int>(names.size());
    deploy().m_nfreqUsed[isys] = used;
    controller().m_signals.m_build(deploy());
  }
  /// Frequencies of the ionosphere-free combination of a system.
  static void ifPair(char letter, const char* first, const char* second) {
    const int isys = tarvio::index_string(tarvio::SYS, letter);
    tarvio::s_copyText(deploy().m_freqIf[isys][0], first);
    tarvio::s_copyText(deploy().m_freqIf[isys][1], second);
    deploy().m_nfreqIf[isys] = 2;
  }
  /// GPS on L1, L2 and Galileo on L1, L5; GPS is the reference.
  static void gpsAndGalileo(int gps, int galileo) {
    frequencies('G', 2, {"L1", "L2"});
    frequencies('E', 2, {"L1", "L5"});
    addConstellation('G', gps);
    addConstellation('E', galileo);
    tarvio::s_copyText(deploy().m_syslist, "GE");
    deploy().m_nsys = 2;
    deploy().m_refsys = 0;
  }
};

class TableFixture : public ::testing::Test, protected Tables {};

}  // namespace gnx_test
