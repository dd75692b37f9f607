#pragma once
/// \file filter_world.h
/// A linear world for tests of the filter: a receiver, clocks, zenith delay, slant ionosphere and
/// ambiguities with known values, seen through a model that hands rows over like the precise one but
/// computes them from these values. Positions are small numbers, so that rounding does not blur
/// comparisons at 1e-9 m.

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <random>

#include "Common/ComGeometry.h"
#include "Core/Filter/SrifFilter.h"
#include "Core/Model/Model.h"
#include "support/dense_lsq.h"
#include "support/table_fixture.h"

namespace gnx_test {

/// One row as the model made it.
struct WorldRow {
  int sat, slot, kind;
  double xx = 0.0, wgt = 0.0;
  double los[3] = {}, mapwet = 0.0, dispersion = 0.0, lam = 0.0;
  double reference = 0.0;  ///< what the model has taken out: los.m_x and the receiver clock, m
};

struct FilterWorld {
  bool visible[tarvio::kMaxSat] = {};
  double position[3] = {1200.5, -3400.25, 5600.125};
  double clock = 30.0, isb[tarvio::kSys] = {}, ztd = 0.05;
  double ion[tarvio::kMaxSat] = {};
  double amb[tarvio::kMaxSat][tarvio::kFreq] = {};
  double fault[tarvio::kMaxSat][tarvio::kObs] = {};  ///< m, added to phases 0..3 and codes 4..7
  double noise = 1.0;                                ///< in sigmas
  double time = 0.0;                                 ///< s, moves the sky
  std::mt19937 random{20240229};
  std::vector<WorldRow> rows;

  double m_gauss() { return std::normal_distribution<double>()(random); }

  /// Fills residuals, weights and lists of a station by the values above.
  void m_fill(tarvio::Station& sta) {
    using namespace tarvio;
    const Deploy& config = Controller::s_getInstance()->m_deploy;
    rows.clear();
    sta.m_freeLists();
    sta.m_omcList = static_cast<double*>(std::calloc(kMaxSat * 8, sizeof(double)));
    sta.m_wgtList = static_cast<double*>(std::calloc(kMaxSat * 8, sizeof(double)));
    sta.m_idxList = static_cast<int*>(std::calloc(kMaxSat * 8 * 4, sizeof(int)));
    for (int isat = 0; isat < config.m_nsat; ++isat) {
      Ssat_t& sat = sta.m_sat[isat];
      sat.m_elev = 0.25 + 0.09 * ((isat * 7) % 13) + 2.0e-4 * time * (isat % 2 ? 1.0 : -0.5);
      sat.m_azim = 0.9 * isat + 3.0e-4 * time;
      sat.m_los[0] = -std::cos(sat.m_elev) * std::sin(sat.m_azim);
      sat.m_los[1] = -std::cos(sat.m_elev) * std::cos(sat.m_azim);
      sat.m_los[2] = -std::sin(sat.m_elev);
      sat.m_mapwet = 1.0 / std::sin(sat.m_elev);
      sat.m_ionmap = 1.0;
      if (!visible[isat]) continue;
      const int isys = config.m_sysOfRow(isat);
      for (int f = 0; f < config.m_nfreqUsed[isys]; ++f)
        for (const int kind : {2, 1}) m_addRow(sta, isat, isys, f, kind);
    }
    sta.m_nobs = static_cast<int>(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      sta.m_omcList[i] = rows[i].xx;
      sta.m_wgtList[i] = rows[i].wgt;
      std::ranges::copy(std::array{rows[i].sat, rows[i].slot, rows[i].kind, -1}, sta.m_idxList + 4 * i);
    }
  }

 private:
  void m_addRow(tarvio::Station& sta, int isat, int isys, int f, int kind) {
    using namespace tarvio;
    const Deploy& config = Controller::s_getInstance()->m_deploy;
    Ssat_t& sat = sta.m_sat[isat];
    const double* freq = Tables::satellite(isat).m_freq;
    WorldRow row{.sat = isat, .slot = f, .kind = kind};
    row.wgt = (kind == 2 ? 1.0 / 0.003 : 1.0 / 0.3) * std::min(1.0, 2.0 * std::sin(sat.m_elev));
    std::copy_n(sat.m_los, 3, row.los);
    row.mapwet = sat.m_mapwet;
    row.dispersion = freq[0] * freq[0] / (freq[f] * freq[f]);
    row.lam = kind == 2 ? kLight / freq[f] : 0.0;
    const double offset = isys == config.m_refsys ? 0.0 : isb[isys];
    const double value = dot(3, row.los, position) + clock + offset + row.mapwet * ztd +
                         (kind == 2 ? -1.0 : 1.0) * row.dispersion * ion[isat] + row.lam * amb[isat][f] +
                         noise * m_gauss() / row.wgt;
    row.reference = sta.m_rclk[config.m_refsys] + dot(3, row.los, sta.m_x);
    const int place = kind == 2 ? f : kFreq + f;
    row.xx = value - row.reference + fault[isat][place];
    sat.m_xx[place] = row.xx;
    sat.m_wgt[place] = row.wgt;
    rows.push_back(row);
  }
};

/// What a slip detector would have left.
struct Slip {
  int isat, slot;
};

struct WorldModel : tarvio::Model {
  WorldModel(tarvio::SrifFilter* filter, tarvio::Station* sta, FilterWorld* world)
      : Model(filter, sta), m_world(world) {}
  void gnssModel(bool) override { m_world->m_fill(*m_sta); }

 private:
  FilterWorld* m_world;
};

/// Seven GPS and six Galileo satellites on two frequencies, one kinematic station.
struct FilterFixture : TableFixture {
  FilterFixture() {
    using namespace tarvio;
    gpsAndGalileo(7, 6);
    s_copyText(deploy().m_ztdmodel, "ZTD");
    s_copyText(deploy().m_ionmodel, "STO");
    s_copyText(deploy().m_icbDcb, "ICB_NONE");
    s_copyText(deploy().m_p1p2Dcb, "DCB_NONE");
    deploy().m_noiseCoef[0] = deploy().m_noiseCoef[1] = 1.0;
    std::fill_n(world.visible, deploy().m_nsat, true);
    for (int i = 0; i < deploy().m_nsat; ++i) {
      world.ion[i] = 1.5 * world.m_gauss();
      for (double& amb : world.amb[i]) amb = std::round(1000.0 * world.m_gauss());
    }
  }
  /// Three frequencies of a system; slots follow falling frequency.
  static void m_threeFrequencies(char letter, std::initializer_list<const char*> names) {
    frequencies(letter, 3, names);
    for (int i = 0; i < deploy().m_nsat; ++i) setCarriers(i);
  }

  template <class Filter = tarvio::SrifFilter>
  void m_build(char skd = 'K') {
    using namespace tarvio;
    Station sta("STAN");
    sta.m_skd = skd;
    sta.m_sigIon = 3.0;
    sta.m_qIon = 0.5;
    sta.m_sigZtd = 0.2;
    for (int i = 0; i < 3; ++i) {
      sta.m_x[i] = world.position[i] + 3.0 * world.m_gauss();
      sta.m_sigXyz[i] = 10.0;
      sta.m_qXyz[i] = 0.05;
      sta.m_rot[i][i] = 1.0;
    }
    filter = std::make_unique<Filter>(std::vector<Station>(1, sta), 30.0);
    filter->m_set_prosys("GE");
    filter->m_upd = &controller().m_upd;
    filter->m_ifpb = &controller().m_ifpb;
    delete station().m_model;
    station().m_model = new WorldModel(filter.get(), &station(), &world);
  }

  tarvio::Station& station() { return filter->m_stations[0]; }

  /// An epoch up to its rows from the model.
  void m_receive(double sod) {
    world.time = sod;
    tarvio::Rnxobs obs;
    obs.m_mjd = 60000;
    obs.m_sod = sod;
    filter->v_setobs({{"STAN", &obs}});
    if (filter->v_isInit()) filter->v_onTimeUpdate();
    else filter->v_onFilterInit();
    filter->v_onObsUpdate();
  }
  /// An epoch up to its rows in the array.
  void m_begin(double sod, const std::vector<Slip>& slips = {}) {
    m_receive(sod);
    filter->v_onDataQC();
    for (const Slip& slip : slips) station().m_sat[slip.isat].m_slip[slip.slot] = 4;
    filter->v_onPrepare();
    filter->v_onAddAmbt();
    filter->v_onAddObsMatrix();
  }
  void m_end() {
    filter->v_onFinish();
    filter->v_onDelAmbt();
  }
  void m_estimate(double sod, const std::vector<Slip>& slips = {}) {
    m_begin(sod, slips);
    filter->v_onFilterEstimate();
  }
  void m_epoch(double sod, const std::vector<Slip>& slips = {}) {
    m_estimate(sod, slips);
    m_end();
  }

  /// Every live parameter by column.
  std::vector<tarvio::SrifPamt*> m_records() {
    std::vector<tarvio::SrifPamt*> all;
    for (tarvio::SrifPamt& r : filter->m_pamt) all.push_back(&r);
    all.insert(all.end(), filter->m_ionlist.begin(), filter->m_ionlist.end());
    all.insert(all.end(), filter->m_amblist.begin(), filter->m_amblist.end());
    return all;
  }

  /// The triangle as a dense system, for the covariance of its columns.
  DenseLsq m_dense() const {
    DenseLsq dense;
    for (int i = 0; i < filter->imtx; ++i) dense.m_unknown();
    for (int i = 0; i < filter->imtx; ++i) {
      DenseLsq::Terms terms;
      for (int c = i; c < filter->imtx; ++c) terms.emplace_back(c, m_r(i, c));
      dense.m_row(terms, 0.0, 1.0);
    }
    dense.m_solve();
    return dense;
  }
  double m_r(int row, int column) const { return filter->infs[filter->iptx[column] + row]; }

  FilterWorld world;
  std::unique_ptr<tarvio::SrifFilter> filter;
};

/// The fixture with three ambiguity layers on the first three frequencies and their record.
struct AmbiguityFixture : FilterFixture {
  static constexpr int kGps = 0, kGalileo = 2;  ///< system indices
  static constexpr int kEwl = 0, kWl = 1, kN1 = 2;

  AmbiguityFixture() {
    for (int layer = 0; layer < 3; ++layer) {
      tarvio::Upd_ambconfig& cfg = m_cfg(layer);
      cfg.m_tag = tarvio::kLevels[layer].tag;
      cfg.m_resolution = true;
      cfg.m_cutoff = 0.1;
      cfg.m_minCommonLambda = 120.0;
      for (const int isys : {kGps, kGalileo}) {
        cfg.ambfreq[isys][0] = layer == kEwl ? 1 : 0;
        cfg.ambfreq[isys][1] = layer == kEwl ? 2 : 1;
      }
    }
  }
  tarvio::Upd_ambconfig& m_cfg(int layer) { return deploy().m_ambconfig[layer]; }
  std::map<std::string, double>& m_record(const char* tag) { return filter->m_fixmap["STAN"][tag]; }
  /// Integer of a satellite in the record, and how it came about.
  double m_value(const char* tag, int isat) { return m_record(tag).at(deploy().m_cprn[isat]); }
  double m_state(const char* tag, int isat) { return m_record(tag).at(deploy().m_cprn[isat] + "_ifab"); }
  void m_inject(const char* tag, int isat, double value, double state) {
    m_record(tag)[deploy().m_cprn[isat]] = value;
    m_record(tag)[deploy().m_cprn[isat] + "_ifab"] = state;
  }
  /// Epochs of 30 s; the last one stops behind the estimate.
  void m_run(int epochs) {
    for (int k = 0; k < epochs - 1; ++k) m_epoch(30.0 * k);
    m_estimate(30.0 * (epochs - 1));
  }
  /// Wide-lane integer of a satellite against another.
  double m_wide(int isat, int iref) const {
    return world.amb[isat][0] - world.amb[isat][1] - (world.amb[iref][0] - world.amb[iref][1]);
  }

  int s0[tarvio::kSys] = {-1, -1, -1, -1, -1, -1, -1};  ///< reference satellites
};

}  // namespace gnx_test
