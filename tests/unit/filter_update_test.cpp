/// The filter against one dense least-squares solution of all epochs so far, in which every state of
/// every epoch is an unknown of its own and every process noise a row.

#include <gtest/gtest.h>

#include "support/filter_world.h"

namespace {

using gnx_test::DenseLsq;
using gnx_test::Slip;
using gnx_test::WorldRow;
using tarvio::SrifPamt;
using tarvio::Station;

/// Keeps the dense system and the places of the unknowns that are alive.
struct DenseFilter {
  DenseFilter(const tarvio::SrifFilter& filter, double ztdPiece)
      : m_sta(filter.m_stations[0]), m_ztdPiece(ztdPiece) {
    for (int i = 0; i < 3; ++i) m_xyz[i] = m_known(m_sta.m_x[i], m_sta.m_sigXyz[i]);
    m_ztd = m_known(0.0, m_sta.m_sigZtd);
  }

  /// Adds an epoch: noise, then rows. Slipped or aged arcs start anew.
  void m_epoch(double sod, const std::vector<WorldRow>& rows, const std::vector<Slip>& slips,
               double clockPrior) {
    const double dt = sod - m_sod;
    const bool first = m_sod < 0.0;
    if (!first) m_moveOrdinary(dt, sod);
    for (const int isys : {0, 2})
      m_clock[isys] = m_known(isys == 0 ? clockPrior : 0.0,
                              first ? m_sta.m_sigClk[isys] : m_sta.m_qClk[isys] * std::sqrt(dt));
    m_ageArcs(first ? sod : m_sod);
    m_beginIonosphere(rows, dt);
    m_beginArcs(rows, slips);
    for (const WorldRow& row : rows) m_addRow(row, sod);
    if (first) m_pieceEnd = sod + m_ztdPiece;
    m_sod = sod;
  }

  DenseLsq m_lsq;
  int m_xyz[3] = {}, m_ztd = 0, m_clock[tarvio::kSys] = {};
  std::map<int, int> m_ion;
  struct Arc {
    int index;
    double used;
  };
  std::map<std::pair<int, int>, Arc> m_amb;

 private:
  void m_moveOrdinary(double dt, double sod) {
    const bool fixed = m_sta.m_skd == 'S';
    for (int& index : m_xyz) index = m_step(index, fixed ? 1.0e-5 : m_sta.m_qXyz[0] * std::sqrt(dt));
    const bool piecewise = m_ztdPiece > 0.0, held = piecewise && sod < m_pieceEnd;
    m_ztd = m_step(m_ztd, held ? 1.0e-5 : m_sta.m_qZtd * std::sqrt(piecewise ? m_ztdPiece : dt));
    if (!held) m_pieceEnd = sod + m_ztdPiece;
  }
  /// A new unknown about a value.
  int m_known(double value, double sigma) {
    const int fresh = m_lsq.m_unknown();
    m_lsq.m_row({{fresh, 1.0}}, value, 1.0 / sigma);
    return fresh;
  }
  int m_step(int old, double sigma) {
    const int fresh = m_lsq.m_unknown();
    m_lsq.m_row({{fresh, 1.0}, {old, -1.0}}, 0.0, 1.0 / sigma);
    return fresh;
  }
  /// What the end of the last epoch (at `sod`) has removed.
  void m_ageArcs(double sod) {
    std::erase_if(m_amb, [&](const auto& item) { return sod - item.second.used > 900.0; });
    std::erase_if(m_ion, [&](const auto& item) {
      return std::none_of(m_amb.begin(), m_amb.end(),
                          [&](const auto& a) { return a.first.first == item.first; });
    });
  }
  void m_beginIonosphere(const std::vector<WorldRow>& rows, double dt) {
    for (auto& [sat, index] : m_ion) index = m_known(0.0, m_sta.m_qIon * std::sqrt(dt));
    for (const WorldRow& row : rows)
      if (!m_ion.contains(row.sat)) m_ion[row.sat] = m_known(0.0, m_sta.m_sigIon);
  }
  void m_beginArcs(const std::vector<WorldRow>& rows, const std::vector<Slip>& slips) {
    for (const Slip& slip : slips) m_amb.erase({slip.isat, slip.slot});
    for (const WorldRow& row : rows) {
      if (row.kind != 2 || m_amb.contains({row.sat, row.slot})) continue;
      double initial = 0.0;  // phase minus code, cycles
      for (const WorldRow& other : rows)
        if (other.sat == row.sat && other.slot == row.slot)
          initial += (other.kind == 2 ? 1.0 : -1.0) * other.xx / row.lam;
      m_amb[{row.sat, row.slot}] = {m_known(initial, 1.0e4), 0.0};
    }
  }
  void m_addRow(const WorldRow& row, double sod) {
    DenseLsq::Terms terms;
    for (int i = 0; i < 3; ++i) terms.emplace_back(m_xyz[i], row.los[i]);
    terms.emplace_back(m_clock[0], 1.0);
    if (row.sat >= 7) terms.emplace_back(m_clock[2], 1.0);
    terms.emplace_back(m_ztd, row.mapwet);
    terms.emplace_back(m_ion.at(row.sat), (row.kind == 2 ? -1.0 : 1.0) * row.dispersion);
    Arc& arc = m_amb.at({row.sat, row.slot});
    arc.used = sod;
    if (row.kind == 2) terms.emplace_back(arc.index, row.lam);
    m_lsq.m_row(terms, row.xx + row.reference, row.wgt);
  }

  const Station m_sta;
  double m_ztdPiece, m_pieceEnd = 0.0, m_sod = -1.0;
};

struct FilterUpdate : gnx_test::FilterFixture {
  void m_start(char skd, double ztdPiece) {
    if (ztdPiece > 0.0) std::snprintf(deploy().m_ztdmodel, sizeof deploy().m_ztdmodel, "ZTD:%.1f", ztdPiece);
    m_build(skd);
    dense = std::make_unique<DenseFilter>(*filter, ztdPiece);
  }

  void m_run(double sod, const std::vector<Slip>& slips = {}) {
    m_begin(sod, slips);
    dense->m_epoch(sod, world.rows, slips, station().m_rclk[0]);
    filter->v_onFilterEstimate();
  }

  /// Places of the live parameters in the dense system, by column.
  std::vector<int> m_places() const {
    std::vector<int> place;
    for (const SrifPamt& record : filter->m_pamt) {
      if (record.pname[0] == 'S') place.push_back(dense->m_xyz[place.size()]);
      if (record.pname[0] == 'R') place.push_back(dense->m_clock[record.isys]);
      if (record.pname[0] == 'Z') place.push_back(dense->m_ztd);
    }
    for (const SrifPamt* record : filter->m_ionlist) place.push_back(dense->m_ion.at(record->isat));
    for (const SrifPamt* record : filter->m_amblist) {
      const auto arc = dense->m_amb.find({record->isat, record->ifreq});
      const bool live = filter->m_pm(0, record->isat, record->ifreq) == record && arc != dense->m_amb.end();
      place.push_back(live ? arc->second.index : -1);
    }
    return place;
  }

  /// \param relative  of covariances, and of estimates in metres; fractional days are good to a microsecond
  void m_compare(double relative = 1.0e-8) {
    dense->m_lsq.m_solve();
    const std::vector<int> place = m_places();
    const std::vector<SrifPamt*> records = m_records();
    ASSERT_EQ(place.size(), static_cast<std::size_t>(filter->imtx));
    ASSERT_EQ(records.size(), place.size());
    const DenseLsq triangle = m_dense();
    for (std::size_t i = 0; i < place.size(); ++i) {
      if (place[i] < 0) continue;
      EXPECT_NEAR(records[i]->xest, dense->m_lsq.m_value(place[i]), relative) << "column " << i;
      for (std::size_t j = 0; j <= i; ++j) {
        if (place[j] < 0) continue;
        const auto expected = [&](int a, int b) { return dense->m_lsq.m_covariance(a, b); };
        const double scale = std::sqrt(expected(place[i], place[i]) * expected(place[j], place[j]));
        ASSERT_NEAR(triangle.m_covariance(static_cast<int>(i), static_cast<int>(j)),
                    expected(place[i], place[j]), relative * scale)
            << "columns " << i << ' ' << j;
      }
    }
  }

  std::unique_ptr<DenseFilter> dense;
};

TEST_F(FilterUpdate, KinematicWithArcsThatComeAndGo) {
  m_start('K', 0.0);
  world.isb[2] = 12.0;
  const double sods[] = {0, 30, 60, 90, 120, 150, 1100, 1130};
  for (int i = 0; i < 8; ++i) {
    // The receiver moves, its clock jumps; the model follows the clock roughly.
    for (double& x : world.position) x += 0.2 * world.m_gauss();
    world.clock = 300.0 * world.m_gauss();
    station().m_rclk[0] = world.clock + world.m_gauss();
    world.visible[2] = i != 2 && i != 3;             // gap, the arc goes on
    world.visible[9] = (i >= 2 && i < 5) || i == 7;  // comes, goes, and has aged out at 1100
    std::vector<Slip> slips;
    if (i == 4) {
      slips = {{1, 0}, {1, 1}, {8, 1}};
      for (const Slip& slip : slips) world.amb[slip.isat][slip.slot] += 17.0;
    }
    m_run(sods[i], slips);
    if (i == 0 || i == 4 || i >= 6) m_compare();
    m_end();
  }
}

TEST_F(FilterUpdate, StaticWithPiecewiseZenithDelay) {
  for (const auto& [piece, step] : {std::pair{60.0, 30.0}, {1.5, 0.5}}) {
    SCOPED_TRACE(piece);
    m_start('S', piece);
    for (int i = 0; i < 6; ++i) {
      m_run(step * i);
      if (i == 1 || i == 5) m_compare(step < 1.0 ? 1.0e-6 : 1.0e-8);
      m_end();
    }
  }
}

TEST_F(FilterUpdate, OddTimesAndZeroSigmasStayFinite) {
  for (const bool zero : {false, true}) {
    m_build();
    if (zero) {
      std::fill(std::begin(station().m_sigXyz), std::end(station().m_sigXyz), 0.0);
      station().m_sigIon = station().m_qIon = station().m_qZtd = 0.0;
    }
    for (const double sod : {0.0, 30.0, 30.0, 10.0, 40.0}) {
      m_epoch(sod);
      for (const SrifPamt& record : filter->m_pamt) EXPECT_TRUE(std::isfinite(record.xest)) << record.pname;
    }
    if (!zero) {
      EXPECT_NEAR(filter->m_pamt[0].xest, world.position[0], 2.0);
    }
  }
}

}  // namespace
