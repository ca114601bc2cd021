#include "session/path/LiveViewFixture.h"

namespace quorvid::test {
namespace {

using LivePicture = LiveViewFixture;

TEST_F(LivePicture, FromTheServerToThePixels) {
  std::atomic<bool> change{false};
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    for (const auto& frame : oneColouredFrames(kRust)) {
      client.sendVideo(frame);
    }
    while (!change && client.send("A" + std::string(18, '\0'))) {  // other packets in between
    }
    for (const auto& frame : oneColouredFrames(kTeal, true)) {
      client.sendVideo(frame);
    }
    client.waitForClose();
  });
  const auto view = makeView(server, CGRectMake(0, 0, 320, 480));
  ASSERT_NE(view, nullptr);
  view->playVideo();
  refreshUntil([&] { return shows(*view, 160, 240, kRust); });
  EXPECT_EQ(CVPixelBufferGetWidth(view->playLayer()->pixelBuffer()), 1280U);
  // 4:3 in 320x480 points: 240 rows of picture between two black bars of 120.
  EXPECT_EQ(pixelAt(160, 115), Rgb{});
  EXPECT_EQ(pixelAt(160, 365), Rgb{});
  EXPECT_TRUE(shows(*view, 2, 125, kRust));
  EXPECT_TRUE(shows(*view, 318, 355, kRust));
  change = true;
  refreshUntil([&] { return shows(*view, 160, 240, kTeal); });
  view->stopVideo();
  EXPECT_NE(view->playLayer()->pixelBuffer(), nullptr);  // the last picture stays
}

// The stream stands still after one frame; restarting brings a new client and a picture again.
TEST_F(LivePicture, RestartingShowsTheNewStream) {
  std::atomic<int> visit{0};
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    client.sendVideo(oneColouredFrames(++visit == 1 ? kRust : kTeal).front());
    client.waitForClose();
  });
  const auto view = makeView(server, CGRectMake(0, 0, 64, 48));
  view->playVideo();
  refreshUntil([&] { return shows(*view, 32, 24, kRust); });
  view->restartVdieo();
  refreshUntil([&] { return shows(*view, 32, 24, kTeal); });
  view->stopVideo();
}

}  // namespace
}  // namespace quorvid::test
