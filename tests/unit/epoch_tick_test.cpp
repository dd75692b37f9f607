// Which epochs are processed: tags of real receivers lie beside the multiples of the interval, by steering of
// their clock, by rounding of decimal fractions, or by a millisecond.

#include <gtest/gtest.h>

#include "Interface/EpochTick.h"

namespace tarvio {
namespace {

TEST(EpochTick, CountsTagsWithinAMillisecondOfAMultiple) {
  const struct {
    double interval_s, sod;
    bool tick;
  } cases[] = {{30.0, 60.0, true},        {30.0, 45.0, false},      {30.0, 60.0 - 1e-7, true},
               {30.0, 60.0 + 4e-4, true}, {30.0, 59.9996, true},    {30.0, 60.001, true},
               {30.0, 60.005, false},     {30.0, 59.995, false},    {0.2, 0.1 + 0.1 + 0.2, true},
               {0.2, 86399.8, true},      {0.2, 86399.7, false},    {0.1, 0.3, true},
               {0.05, 43200.05, true},    {0.05, 43200.025, false}, {1.0, 17.3456, true},
               {30.0, 86399.9996, true},  {80000.0, 80000.0, true}};
  for (const auto& c : cases) EXPECT_EQ(EpochTick(c.interval_s).m_accept(60000, c.sod), c.tick) << c.sod;
}

TEST(EpochTick, TakesEveryTickOfADayAtTwentyHertz) {
  EpochTick tick(0.05);
  int ticks = 0;
  for (int k = 0; k < 20 * 86400; ++k) ticks += tick.m_accept(60000, k * 0.05) ? 1 : 0;
  EXPECT_EQ(ticks, 20 * 86400);
}

TEST(EpochTick, TakesOneEpochATick) {
  EpochTick tick(30.0);
  EXPECT_TRUE(tick.m_accept(60000, 86369.9995));
  EXPECT_FALSE(tick.m_accept(60000, 86370.0)) << "the tick has had its epoch";
  EXPECT_TRUE(tick.m_accept(60000, 86399.9995));
  EXPECT_FALSE(tick.m_accept(60001, 0.0)) << "the same tick, in the words of the next day";
  EXPECT_TRUE(tick.m_accept(60000, 43200.0)) << "data that begin again";
  EpochTick odd(80000.0);  // does not divide the day: the multiples begin anew at midnight
  EXPECT_TRUE(odd.m_accept(60000, 80000.0));
  EXPECT_TRUE(odd.m_accept(60001, 0.0));
}

}  // namespace
}  // namespace tarvio
