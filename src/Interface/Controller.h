#pragma once
/// \file Controller.h
/// Process-wide singleton that owns the system: configuration, filter, stores.

#include <string>
#include <vector>

#include "Adapter/CodeBiasAdapter.h"
#include "Adapter/IfpbAdapter.h"
#include "Adapter/OrbitClkAdapter.h"
#include "Adapter/UpdAdapter.h"
#include "Config/Deploy.h"
#include "Core/Filter/ResumeTrial.h"
#include "GNX_IO.h"
#include "Interface/BoundaryInput.h"
#include "Interface/EpochTick.h"
#include "Interface/EventWatch.h"
#include "Records/Rnxobs.h"
#include "Records/Station.h"

namespace tarvio {

class SrifFilter;

class Controller {
 public:
  /// Created on first call; not thread-safe.
  static Controller* s_getInstance();

  /// Loads the configuration of the working directory in a controller of its own, tables that are kept for
  /// the life of a process included. Only for a process that ends behind it.
  static void s_tryConfiguration();

  void _initilize(const char* mode, GNX_IO::sta_t* sta, double cutoff, double intv);
  void _finalize();
  Station m_initStation(const GNX_IO::sta_t* sta, double cutoff, char skd);
  void m_setIntv(double intv);
  void m_setStartEpoch(long t);
  /// Orbit and clock of every satellite into the satellite table.
  void m_makeupOrbclkCorrs(int mjd, double sod);
  /// Code biases, then phase biases.
  void m_corrdcb(Rnxobs* obs);
  void m_corrosb(Rnxobs* obs);
  /// One epoch, from observations as they came in to the solution line. \return as v_inputObs
  int m_runEpoch(Rnxobs* obs);
  /// The epoch's sequence of filter steps. \return 1 when the filter ran, 0 when no tick
  int v_inputObs(Rnxobs* obs);
  /// What the engine knows between two epochs, as bytes; "" before the first.
  std::string m_state();
  /// Goes on from a state of an earlier run, before the first epoch. \throws std::runtime_error for one that
  /// is damaged or of another configuration; the engine begins anew then
  void m_resume(const std::string& state);

  long m_startEpoch = 0;
  Deploy m_deploy;
  SrifFilter* m_filter = nullptr;  ///< owned
  UpdAdapter m_upd;
  IfpbAdapter m_ifpb;
  OrbitClkAdapter* m_orbclk = nullptr;  ///< stays allocated after _finalize, by design
  std::vector<void*> m_spare;
  CodeBiasAdapter m_codebias;
  EventWatch m_events;
  SignalTable m_signals;  ///< numbers of the companion, looked up by _initilize

 private:
  Controller();
  ~Controller();
  void m_screen(Rnxobs* obs);
  void m_addRows(SrifFilter& filter);

  EpochTick m_tick{1.0};  ///< of the filter's own interval
  ResumeTrial m_trial;
  static Controller* s_instance;
};

}  // namespace tarvio
