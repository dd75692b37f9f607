// Starts, restarts and ends the system, and runs an epoch through it.

#include "Interface/Controller.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "Adapter/SsrOrbitClkAdapter.h"
#include "Common/ComFreq.h"
#include "Common/ComGeometry.h"
#include "Common/ComTime.h"
#include "Common/Logtrace.h"
#include "Config/Configuration.h"
#include "Config/SatelliteTable.h"
#include "Core/Ambfix/SrifFilter_iar.h"
#include "Core/Model/ModelTables.h"
#include "Interface/Results.h"

namespace tarvio {

namespace {

constexpr const char* kNoAntenna = "ANTNONE         NONE";  ///< type and radome, 20 characters
constexpr const char* kSystems = "GECBJ";                   ///< systems that the filter processes

/// Feeder threads may still read through an engine that is being stopped: its store stays, reachable.
std::vector<OrbitClkAdapter*>& s_keptStores() {
  static std::vector<OrbitClkAdapter*>& stores = *new std::vector<OrbitClkAdapter*>;
  return stores;
}

char s_dynamics(const char* mode) {
  if (std::strstr(mode, "static") != nullptr) return 'S';
  if (std::strstr(mode, "kinematic") != nullptr) return 'K';
  if (std::strstr(mode, "dynamic") != nullptr) return 'D';
  return 'K';
}

/// A text field of a record that may lack its terminator.
template <std::size_t N>
std::string s_text(const char (&field)[N]) {
  return {field, strnlen(field, N)};
}

/// Where a receiver can be. Numbers near the centre of the Earth or none at all are no position.
bool s_plausiblePosition(const double* xyz) {
  const double r = std::sqrt(dot(3, xyz, xyz));
  return r > 1.0e6 && r < 1.0e8;
}

/// A-priori sigmas and process noise of a receiver that nothing is known about. Those of the coordinates are
/// multiplied by the key "noisecoef".
namespace noise {
constexpr double kCoordinate_m = 0.05;
constexpr double kIonosphere_m = 3.0;            ///< slant delay on slot 0, 18 TECU on 1575 MHz
constexpr double kIonosphere_mPerRootS = 3.0;    ///< per square root of second: each epoch anew
constexpr double kZenithDelay_m = 0.02;          ///< around the a-priori delay
constexpr double kZenithDelay_mPerRootS = 4e-4;  ///< 24 mm in an hour
constexpr double kCode_m = 0.3;                  ///< at 30 degrees and above
constexpr double kPhase_m = 0.003;               ///< at 30 degrees and above, some 0.015 cycle
}  // namespace noise

void s_setNoise(Station& sta, const NoiseSettings& settings) {
  std::fill(std::begin(sta.m_sigXyz), std::end(sta.m_sigXyz), noise::kCoordinate_m);
  sta.m_sigIon = noise::kIonosphere_m;
  sta.m_qIon = noise::kIonosphere_mPerRootS;
  sta.m_sigZtd = settings.m_on ? settings.m_zenithDelay_m : noise::kZenithDelay_m;
  sta.m_qZtd = settings.m_on ? settings.m_zenithDelay_mPerRootS : noise::kZenithDelay_mPerRootS;
  std::fill(std::begin(sta.m_sigCode), std::end(sta.m_sigCode), noise::kCode_m);
  std::fill(std::begin(sta.m_sigPhase), std::end(sta.m_sigPhase), noise::kPhase_m);
}

void s_setPosition(Station& sta, const GNX_IO::sta_t& source) {
  const bool given = source.pos[0] != 0.0 || source.pos[1] != 0.0 || source.pos[2] != 0.0;
  if (given && !s_plausiblePosition(source.pos)) {
    Logtrace::m_logStatInfo("a-priori position %lf %lf %lf m is not on Earth, ignored\n", source.pos[0],
                            source.pos[1], source.pos[2]);
  } else {
    std::copy(source.pos, source.pos + 3, sta.m_x);
    std::copy(source.pos, source.pos + 3, sta.m_xyz);
  }
  if (s_usable(source.del, 3, 1.0e6)) std::copy(source.del, source.del + 3, sta.m_enu);
  if (sta.m_x[0] * sta.m_x[1] * sta.m_x[2] == 0.0) return;
  xyzblh(sta.m_x, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, sta.m_blh);
  rot_enu2xyz(sta.m_blh[0], sta.m_blh[1], sta.m_rot);
}

/// Antenna record and resolved type; an antenna that is not in the file gets zero offsets.
void s_setAntenna(Station& sta, const Deploy& deploy) {
  int mjd = 0;
  double sod = 0.0;
  cur_time(&mjd, &sod);
  const double now = mjd + sod / kDay;
  char resolved[256] = "";
  std::string name = kNoAntenna;
  if (!sta.m_antType.empty() && Antatx::s_antnam(sta.m_antType.c_str(), sta.m_name.c_str(), resolved) == 1) {
    name = resolved;
  }
  const auto find = [&] {
    return sta.m_ant.m_getAnt("SITE", deploy.m_nfreqObs, deploy.m_freqObs, now, now, name.c_str(), "",
                              nullptr);
  };
  if (find() == 0) {
    name = kNoAntenna;
    find();
  }
  sta.m_antType = name;
  std::memcpy(sta.m_antenu, sta.m_ant.m_offset, sizeof sta.m_antenu);
}

}  // namespace

Controller* Controller::s_instance = nullptr;

Controller* Controller::s_getInstance() {
  if (s_instance == nullptr) s_instance = new Controller;
  return s_instance;
}

Controller::Controller() : m_startEpoch(s_wallClock()) { s_setConfig(&m_deploy); }

Controller::~Controller() {
  delete m_filter;
  s_setConfig(nullptr);
}

void Controller::_initilize(const char* mode, GNX_IO::sta_t* sta, double cutoff, double intv) {
  const char* arguments[] = {"-mode", "ppp", "ppp.json", "-itrs", "-dia", "-iar"};
  m_deploy.m_readJsonFile(static_cast<int>(std::size(arguments)), arguments);
  s_loadModelTables();
  m_setIntv(intv);
  m_tick = EpochTick(m_deploy.m_intv);
  m_signals.m_build(m_deploy);

  const char letter = s_dynamics(mode == nullptr ? "" : mode);
  const std::vector<Station> stations(1, m_initStation(sta, cutoff, letter));
  m_filter = new SrifFilter_iar(stations, m_deploy.m_intv);
  m_orbclk = new SsrOrbitClkAdapter;
  s_keptStores().push_back(m_orbclk);
  m_filter->m_set_prosys(kSystems);
  m_filter->m_orbAdapters.assign(1, m_orbclk);
  m_filter->m_clkAdapters.assign(1, m_orbclk);
  m_filter->m_orbclk = m_orbclk;
  m_filter->m_upd = &m_upd;
  m_filter->m_ifpb = &m_ifpb;
  m_events.m_loaded(m_deploy);
}

void Controller::s_tryConfiguration() {
  s_instance = new Controller;
  s_instance->_initilize("", nullptr, 7.0, 1.0);
  s_readModelTables();
}

void Controller::_finalize() {
  delete s_instance;
  s_instance = nullptr;
}

Station Controller::m_initStation(const GNX_IO::sta_t* sta, double cutoff, char skd) {
  static const GNX_IO::sta_t kUnknown{};
  const GNX_IO::sta_t& source = sta == nullptr ? kUnknown : *sta;
  Station station("STAN");
  station.m_skd = skd;
  std::strcpy(station.m_clkmodel, "CLK");
  station.m_antType = s_text(source.antdes);
  station.m_recType = s_text(source.rectype);
  if (std::isfinite(cutoff)) station.m_cutoff = cutoff * kDegToRad;
  s_setNoise(station, m_deploy.m_noise);
  s_setPosition(station, source);
  s_setAntenna(station, m_deploy);
  m_deploy.m_antennas[station.m_antType] = station.m_ant;
  return station;
}

void Controller::m_setIntv(double intv) {
  if (!(std::isfinite(intv) && intv > 0.0)) {
    Logtrace::m_logStatInfo("interval of %lf s: every epoch is processed, as with 1 s\n", intv);
    intv = 1.0;
  }
  m_deploy.m_intv = intv;
  m_deploy.m_intv2 = intv;
}

void Controller::m_setStartEpoch(long t) { m_startEpoch = t; }

void Controller::m_makeupOrbclkCorrs(int mjd, double sod) {
  if (m_orbclk == nullptr) return;
  OrbitAdapter* orbits = m_orbclk;
  ClkAdapter* clocks = m_orbclk;
  for (int i = 0; i < m_deploy.m_nsat; ++i) {
    Satellite& sat = m_deploy.m_satellites[static_cast<std::size_t>(i)];
    std::fill(std::begin(sat.m_xyz), std::end(sat.m_xyz), 0.0);
    sat.m_clk = 0.0;
    // A failed read leaves zeros, by which the models know that there is no product.
    orbits->v_readOrbit(m_deploy.m_cprn[i].c_str(), mjd, sod, sat.m_xyz);
    clocks->v_readClk(m_deploy.m_cprn[i].c_str(), mjd, sod, &sat.m_clk);
  }
}

void Controller::m_corrdcb(Rnxobs* obs) {
  m_codebias.m_corrCodeBias(obs->m_mjd, obs->m_sod, obs);
  m_corrosb(obs);
}

void Controller::m_corrosb(Rnxobs* obs) {
  if (!m_deploy.m_losb) return;
  Upd_bias bias;
  m_upd.m_inquireBias(m_deploy.m_curMjd, m_deploy.m_curSod, bias);
  for (int i = 0; i < m_deploy.m_nsat; ++i) {
    const int isys = m_signals.m_sys[i];
    const int slots = isys < 0 ? 0 : std::min(m_deploy.m_nfreqUsed[isys], kFreq);
    double* row = obs->m_obs[i];
    for (int j = 0; j < slots; ++j) {
      if (row[j] == 0.0) continue;
      const char* name = m_deploy.m_freqObs[isys][j];
      if (bias.v_checkSatellite(m_deploy.m_cprn[i].c_str(), name)) {
        row[j] += bias.m_value[i][j] / (kLight / freqbytp(i, name));
      } else {
        row[j] = row[4 + j] = 0.0;
        Rnxobs::s_checkObs(i, row, obs->m_dop[i], obs->m_snr[i], obs->m_flag[i]);
      }
    }
  }
}

void Controller::m_screen(Rnxobs* obs) {
  for (int i = 0; i < m_deploy.m_nsat; ++i) {
    Rnxobs::s_checkObs(i, obs->m_obs[i], obs->m_dop[i], obs->m_snr[i], obs->m_flag[i]);
  }
}

int Controller::m_runEpoch(Rnxobs* obs) {
  m_deploy.m_curMjd = obs->m_mjd;
  m_deploy.m_curSod = obs->m_sod;
  if (m_deploy.m_clockUnset) {
    m_deploy.m_renewAntennas(obs->m_mjd, obs->m_sod);
    m_deploy.m_clockUnset = false;
  }
  ObservationAccount& account = m_filter->m_account;
  m_screen(obs);
  account.m_settleScreened(*obs);
  m_corrdcb(obs);
  account.m_settleBiased(*obs, m_orbclk);
  m_makeupOrbclkCorrs(obs->m_mjd, obs->m_sod);
  return v_inputObs(obs);
}

int Controller::v_inputObs(Rnxobs* obs) {
  SrifFilter& filter = *m_filter;
  filter.m_wantsResults = Results::s_getInstance().m_wanted();
  filter.v_setobs({{"STAN", obs}});

  if (!m_tick.m_accept(m_deploy.m_curMjd, m_deploy.m_curSod)) {
    if (filter.v_isInit() && EpochTick::s_isMultiple(m_deploy.m_curSod, m_deploy.m_intv2)) {
      filter.v_onTickInterval();
    }
    filter.m_account.m_closeEpoch(Fate::noTick);
    return 0;
  }
  if (filter.v_isInit()) filter.v_onTimeUpdate();
  else filter.v_onFilterInit();
  filter.v_onObsUpdate();
  filter.v_onDataQC();
  filter.v_onPrepare();
  m_addRows(filter);
  filter.v_onFilterEstimate();
  filter.v_onOutput();
  Results::s_getInstance().m_epoch(*this);
  m_events.m_epoch(filter);  // while the rows stand
  filter.v_onFinish();
  filter.v_onDelAmbt();
  return 1;
}

}  // namespace tarvio
