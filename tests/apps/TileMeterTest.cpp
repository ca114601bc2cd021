#include "apps/quorvid/view/TileMeter.h"

#include <gtest/gtest.h>

namespace quorvid::app {
namespace {

// What a view tells `playing` seconds after play() with the last of so many pictures shown now.
LiveFigures shown(std::uint64_t pictures, double playing, double firstPicture) {
  LiveFigures figures;
  figures.shown = pictures;
  figures.playing = playing;
  figures.firstPicture = firstPicture;
  figures.sinceLastPicture = 0;
  figures.streamWidth = 704;
  return figures;
}

TEST(TileMeter, CountsOnOverARestartByHand) {
  TileMeter meter(100);
  EXPECT_FALSE(meter.look({}, 101));
  EXPECT_TRUE(meter.look(shown(5, 2, 1), 102));
  EXPECT_FALSE(meter.look(shown(5, 2, 1), 102));
  meter.countAnew(shown(5, 2, 1));
  meter.restartedByHand();
  EXPECT_EQ(meter.silence(103), 1);
  EXPECT_TRUE(meter.look(shown(6, 4, 2), 111));

  TileReport report;
  meter.fillIn(report, shown(6, 4, 2), 112);
  EXPECT_EQ(report.figures.shown, 11U);
  EXPECT_EQ(report.figures.restarts, 1U);
  EXPECT_EQ(report.firstPictureSeconds, 1);
  EXPECT_EQ(report.longestPause, 9);
  EXPECT_EQ(report.silence, 1);
}

}  // namespace
}  // namespace quorvid::app
