#include <gtest/gtest.h>

#include "view/sdl/RefreshClock.h"

namespace quorvid::test {
namespace {

using std::chrono::milliseconds;

TEST(RefreshClock, TheTimerCountsMissedRefreshesAndKeepsItsPhase) {
  RefreshClock clock(milliseconds(10));
  const RefreshClock::Time first = clock.due(false);
  EXPECT_EQ(clock.begin(first + milliseconds(1), false), 1U);
  EXPECT_EQ(clock.due(false), first + milliseconds(10));
  EXPECT_EQ(clock.begin(first + milliseconds(38), false), 3U);  // 35 ms of drawing
  EXPECT_EQ(clock.due(false), first + milliseconds(40));
}

TEST(RefreshClock, ADisplayThatBlocksSetsThePace) {
  RefreshClock clock(milliseconds(10));
  const RefreshClock::Time begin = clock.due(false) - milliseconds(10);
  // The swap returned a little early: one refresh, and the next is counted from here.
  EXPECT_EQ(clock.begin(begin + milliseconds(9), true), 1U);
  EXPECT_EQ(clock.begin(begin + milliseconds(28), true), 2U);
  // A swap that does not block (a hidden window) can't make it spin.
  EXPECT_EQ(clock.due(true), begin + milliseconds(33));
  EXPECT_EQ(clock.due(false), begin + milliseconds(38));
}

}  // namespace
}  // namespace quorvid::test
