// A circle is one where the stream's pixels are not square: in a picture of the view, and where a
// host shows it. And what is still has no colours there.
#include <cmath>

#include "base/Clock.h"
#include "port/egl/Drawable.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"
#include "session/path/LiveViewFixture.h"
#include "view/HostScreen.h"

namespace quorvid::test {
namespace {

constexpr int kHostSide = 800;
constexpr double kDisc = 400.0 / 576;  // its diameter, in parts of the picture's height

std::string frameWithDisc() {
  TestStreamOptions options{.width = 704, .height = 576, .frames = 1, .keepVui = true};
  options.encoder = "sar=12/11";
  options.draw = [](TestPicture& picture, int) {
    fillTestPicture(picture, 50, 128, 128);
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        const double dx = (x + .5 - picture.width / 2.0) * 12 / 11, dy = y + .5 - 288;
        const bool isInside = dx * dx + dy * dy < 200 * 200;
        if (isInside) picture.y[std::ptrdiff_t{picture.width} * y + x] = 200;
      }
    }
  };
  const auto bytes = encodeTestStream(options).frameBytes(0);
  return {bytes.begin(), bytes.end()};
}

// green: of a pixel. The disc is in the middle of a picture of that height.
void expectRound(int width, int height, double pictureHeight,
                 const std::function<int(int, int)>& green) {
  int across = 0, down = 0;
  for (int x = 0; x < width; ++x) across += green(x, height / 2) > 128 ? 1 : 0;
  for (int y = 0; y < height; ++y) down += green(width / 2, y) > 128 ? 1 : 0;
  EXPECT_NEAR(across, kDisc * pictureHeight, 0.01 * pictureHeight);
  EXPECT_NEAR(down, kDisc * pictureHeight, 0.01 * pictureHeight);
  EXPECT_NEAR(static_cast<double>(across) / down, 1, 0.02);
}

LiveTarget targetAt(const FleetServer& server) {
  LiveTarget target;
  target.host = "127.0.0.1";
  target.port = server.port();
  target.device = "BUS-17";
  return target;
}

TEST(LiveShape, ACircleIsRoundInTheViewsPictureAndInAHost) {
  FleetServer server([frame = frameWithDisc()](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    client.sendVideo(frame);
    client.waitForClose();
  });
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kHostSide, kHostSide);
  const auto host = ViewHost::create();
  host->resize(kHostSide, kHostSide, 1);
  const auto view = LiveView::initWithFrame(host->contentView()->bounds());
  ASSERT_NE(view, nullptr);
  host->contentView()->addSubview(view);
  ASSERT_TRUE(view->connect(targetAt(server)));
  eventually([&] {
    host->refresh();
    return view->figures().shown > 0;
  });
  const auto picture = view->snapshot();
  ASSERT_TRUE(picture);
  expectRound(picture->width, picture->height, picture->height, [&](int x, int y) {
    return picture->rgb[static_cast<std::size_t>(y * picture->width + x) * 3 + 1];
  });
  ASSERT_TRUE(host->composite(0, 0, kHostSide, kHostSide));
  const Image shown = screen.read();
  expectRound(kHostSide, kHostSide, kHostSide * 3 / 4.0,
              [&](int x, int y) { return shown.at(x, y)[1]; });
}

// What has another size than its place in the window is scaled with every drawing.
TEST(LiveShape, ThePictureHasJustThePixelsOfItsPlaceInTheWindow) {
  const auto host = ViewHost::create();
  host->resize(kHostSide, kHostSide, 1);
  LiveOptions options;
  options.shape = 704.0 / 576;
  constexpr double kLeft = 10.1;  // the picture would lie from 36.8 to 623.4, 586.7 wide
  const auto view = LiveView::initWithFrame(CGRectMake(kLeft, 0, 640, 480), options);
  ASSERT_NE(view, nullptr);
  host->contentView()->addSubview(view);
  host->refresh();
  CALayer& layer = *view->layer()->sublayers().front();
  const CGRect place = layer.frame();
  const auto edge = [](double at) { return std::lround(kLeft + at); };
  EXPECT_EQ(layer.drawable()->width(),
            edge(place.origin.x + place.size.width) - edge(place.origin.x));
  EXPECT_EQ(layer.drawable()->height(), 480);
}

TEST(LiveShape, AStillPictureIsGreyUpToTheNextOne) {
  std::atomic<bool> isBegun{false}, goesOn{false};
  FleetServer server([&](FleetClient& client) {
    const bool isFirst = !isBegun.exchange(true);
    client.readRequest();
    client.sendAnswer();
    while (!isFirst && !goesOn) sleepForTimeInterval(0.01);
    client.sendVideo(oneColouredFrames(isFirst ? kRust : kTeal).front());
    client.waitForClose();
  });
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, kHostSide, kHostSide);
  const auto host = ViewHost::create();
  host->resize(kHostSide, kHostSide, 1);
  LiveOptions options;
  options.stallAfter = 0.3;
  options.greyWhenStill = true;
  const auto view = LiveView::initWithFrame(host->contentView()->bounds(), options);
  ASSERT_NE(view, nullptr);
  host->contentView()->addSubview(view);
  view->connect(targetAt(server));
  const auto shows = [&](YCbCr colour) {
    host->composite(0, 0, kHostSide, kHostSide);
    return isNear(screen.read().at(kHostSide / 2, kHostSide / 2), rgbOf(colour));
  };
  eventually([&] { return host->refresh(), shows({kRust.y, 128, 128}); });
  goesOn = true;
  eventually([&] { return host->refresh(), view->figures().shown == 2; });
  EXPECT_TRUE(shows(kTeal)) << "in the turn that brings it";
}

}  // namespace
}  // namespace quorvid::test
