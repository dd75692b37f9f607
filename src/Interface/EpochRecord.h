#pragma once
/// \file EpochRecord.h
/// The record of an epoch for those who listen, read from the filter behind its estimate.

#include "GNX_SDK_ext.h"

namespace tarvio {

class Controller;
class SrifFilter;

/// Fills a record while the rows of the epoch stand. What an earlier epoch left in it is replaced; its
/// storage is used again.
class EpochRecord {
 public:
  EpochRecord(Controller& controller, GNX_EXT::Result& result);
  void m_fill();

  /// Three characters at most: there are hundreds of them in an epoch.
  static void s_name(char (&to)[4], const char* from) {
    for (int i = 0; i < 3 && (to[i] = from[i]) != '\0'; ++i) to[i + 1] = '\0';
  }

 private:
  void m_setSolution();
  void m_setReason();
  void m_setClocks();
  void m_setZenith();
  void m_setAges();
  void m_setLevels();
  void m_setIntegers();
  void m_setAccount();
  // satellites, in a file of their own
  void m_setSatellites();
  void m_setSatellite(int isat, GNX_EXT::SatelliteResult& out) const;
  void m_setBand(int isat, int isys, int slot, GNX_EXT::BandResult& out) const;
  void m_setRows();

  double m_sigma(int column) const;

  Controller& m_controller;
  const SrifFilter& m_filter;
  GNX_EXT::Result& m_result;
};

}  // namespace tarvio
