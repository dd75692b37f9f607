/// Columns of the filter that come and go, beside what filter_update_test.cpp compares.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/exit_message.h"
#include "support/filter_world.h"

namespace {

using tarvio::SrifPamt;

using FilterAmbt = gnx_test::FilterFixture;

TEST_F(FilterAmbt, SlipInAnEpochWithoutRowsIsNotLost) {
  m_build();
  for (int i = 0; i < 3; ++i) m_epoch(30.0 * i);
  const SrifPamt* old = filter->m_pm(0, 4, 1);
  const std::vector<bool> seen(world.visible, world.visible + 13);
  std::fill(std::begin(world.visible), std::end(world.visible), false);
  m_begin(90.0, {{4, 1}});
  filter->v_onFilterEstimate();
  m_end();
  std::copy(seen.begin(), seen.end(), world.visible);
  m_begin(120.0);
  EXPECT_NE(filter->m_pm(0, 4, 1), old);
  filter->v_onFilterEstimate();
  m_end();
}

TEST_F(FilterAmbt, FullArrayEndsTheProcessWithItsSize) {
  m_build();
  world.visible[0] = false;
  m_epoch(0.0);
  filter->ntmx = filter->imtx + 3;  // one column for the right-hand side, two ambiguities, no ionosphere
  world.visible[0] = true;
  EXPECT_EXIT_MESSAGE(m_begin(30.0), "imtx is bigger than ntmx");
}

}  // namespace
