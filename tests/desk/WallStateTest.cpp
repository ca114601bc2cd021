// What becomes of the wall when cameras come, go and change places.
#include "apps/desk/wall/WallState.h"

#include <gtest/gtest.h>

#include "apps/desk/model/CameraText.h"

using namespace quorvid::desk;

namespace {

Camera bus(int channel) {
  return {"BUS", channel};
}

// "0 - 2 |1": cameras by channel, the page that is shown behind the bar.
std::string drawn(const WallState& wall) {
  std::string text;
  for (const auto& tile : wall.layout.tiles) {
    text += (tile ? std::to_string(tile->channel) : "-") + " ";
  }
  return text + "|" + std::to_string(wall.page);
}

TEST(WallState, FillsEmptyTilesAndTurnsToThePageOfWhatCame) {
  WallState wall;
  for (int channel = 0; channel < 5; ++channel) wall.add(bus(channel));
  EXPECT_EQ(drawn(wall), "0 1 2 3 4 |1");
  wall.add(bus(2));  // it is there
  EXPECT_EQ(drawn(wall), "0 1 2 3 4 |0");
  wall.remove(1);
  wall.add(bus(6), 7);
  EXPECT_EQ(drawn(wall), "0 - 2 3 4 - - 6 |1");
  wall.add(bus(5), 2);  // taken: the first empty one
  EXPECT_EQ(drawn(wall), "0 5 2 3 4 - - 6 |0");
  wall.setColumns(1);
  wall.step(-1);
  EXPECT_EQ(drawn(wall), "0 5 2 3 4 - - 6 |7");
  wall.remove(7);  // its page goes, and the empty ones before it
  EXPECT_EQ(drawn(wall), "0 5 2 3 4 |4");
}

TEST(WallState, CamerasChangePlaces) {
  WallState wall;
  wall.add(bus(0));
  wall.add(bus(1));
  wall.drop(0, bus(1));
  EXPECT_EQ(drawn(wall), "1 0 |0");
  wall.drop(3, bus(1));
  EXPECT_EQ(drawn(wall), "- 0 - 1 |0");
  wall.drop(1, bus(7));
  EXPECT_EQ(drawn(wall), "- 7 - 1 |0");
}

TEST(WallState, StepsFromOneEnlargedCameraToTheNext) {
  WallState wall;
  wall.use({2, {bus(0), std::nullopt, bus(2), std::nullopt, bus(4)}});
  wall.enlarged = 2;
  wall.step(1);
  EXPECT_EQ(wall.cells(), std::vector<int>{4});
  EXPECT_EQ(wall.page, 1);
  wall.step(1);
  EXPECT_EQ(wall.enlarged, 0);
  wall.step(-1);
  EXPECT_EQ(wall.enlarged, 4);
  wall.remove(4);
  EXPECT_FALSE(wall.enlarged);
  wall.narrow = true;
  EXPECT_EQ(wall.cells(), (std::vector<int>{0, 2}));
}

TEST(CameraText, TakesWhatItWroteAndNothingElse) {
  const Camera camera{"A/B 7", 3};
  EXPECT_EQ(cameraOf(textOf(camera)), camera);
  for (const char* text : {"", "/", "3/", "8/BUS", "-1/BUS", "x/BUS", "3 BUS", "99999999999/BUS"}) {
    EXPECT_FALSE(cameraOf(text)) << text;
  }
}

}  // namespace
