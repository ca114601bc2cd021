#include "live/StallWatch.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorvid {
namespace {

// When restarts fall due between two times, looked at every tenth of a second.
std::vector<int> restarts(StallWatch& watch, double from, double to) {
  std::vector<int> times;
  for (int tenth = static_cast<int>(from * 10); tenth < to * 10; ++tenth) {
    if (watch.restartDue(tenth / 10.0)) times.push_back(tenth / 10);
  }
  return times;
}

TEST(StallWatch, RestartsASilentStreamWithPausesThatDoubleUpToHalfAMinuteOrThePatience) {
  StallWatch watch(5, 0), patient(60, 0);
  EXPECT_EQ(restarts(watch, 0, 100), (std::vector{5, 10, 20, 40, 70}));
  EXPECT_EQ(restarts(patient, 0, 200), (std::vector{60, 120, 180}));
}

TEST(StallWatch, APictureEndsTheStallAndBeginsThePausesAnew) {
  StallWatch watch(5, 100);
  EXPECT_FALSE(watch.isStalled(104.9));
  EXPECT_TRUE(watch.isStalled(105));
  EXPECT_EQ(restarts(watch, 100, 111), (std::vector{105, 110}));
  watch.pictureArrived(112);
  EXPECT_FALSE(watch.isStalled(116.9));
  EXPECT_EQ(restarts(watch, 112, 123), (std::vector{117, 122}));
}

}  // namespace
}  // namespace quorvid
