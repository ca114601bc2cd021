#include "session/path/LiveViewFixture.h"

namespace quorvid::test {
namespace {

using LivePicture = LiveViewFixture;

TEST_F(LivePicture, FromTheServerToThePixelsAndAgainAfterARestart) {
  std::atomic<int> visit{0};
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    const bool isFirst = ++visit == 1;
    for (const auto& frame : oneColouredFrames(isFirst ? kRust : kTeal, !isFirst)) {
      client.sendVideo(frame);
    }
    client.waitForClose();  // the stream stands still; only restarting brings another
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
  view->restartVdieo();
  refreshUntil([&] { return shows(*view, 160, 240, kTeal); });
  view->stopVideo();
  EXPECT_NE(view->playLayer()->pixelBuffer(), nullptr);  // the last picture stays
}

}  // namespace
}  // namespace quorvid::test
