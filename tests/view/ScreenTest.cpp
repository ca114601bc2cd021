// The window on a real X display, seen as a user sees it: on a screenshot.
#include <SDL.h>
#include <gmock/gmock.h>

#include <cstdlib>

#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/Window.h"
#include "view/XvfbScreen.h"

namespace quorvid::test {
namespace {

// The smallest box around all pixels of that colour.
SDL_Rect boxOf(const Image& image, const Rgb& color) {
  SDL_Rect box{};
  for (int i = 0; i < image.width * image.height; ++i) {
    const SDL_Rect pixel{i % image.width, i / image.width, 1, 1};
    if (distance(image.at(pixel.x, pixel.y), color) <= 2) SDL_UnionRect(&box, &pixel, &box);
  }
  return box;
}

class OnScreen : public testing::Test {
 protected:
  void SetUp() override {
    if (screen_.name().empty()) {
      ASSERT_EQ(getenv("QUORVID_TEST_REQUIRE_DISPLAY"), nullptr) << "Xvfb does not start";
      GTEST_SKIP() << "Xvfb is not there (package xvfb)";
    }
    setenv("DISPLAY", screen_.name().c_str(), 1);
    setenv("SDL_VIDEODRIVER", "x11", 1);
    std::string error;
    window_ = Window::open({"on screen", 200, 120, false}, &error);
    ASSERT_NE(window_, nullptr) << error;
    window_->contentView()->setBackgroundColor(UIColor(1, 0, 0));
    layer_ = AAPLEAGLLayer::initWithFrame(CGRectMake(100, 20, 80, 60));
    window_->contentView()->layer()->addSublayer(layer_);
    layer_->setPixelBuffer(picture_.get());
  }

  // Turns until the screen shows the content as large as expected; the server takes its time.
  Image waitFor(int width, int height, const Rgb& color = {255, 0, 0}) {
    Image image;
    for (int turn = 0; turn < 300; ++turn) {
      EXPECT_TRUE(window_->runTurn());
      image = screen_.screenshot();
      const SDL_Rect box = boxOf(image, color);
      if (box.w == width && box.h == height) break;
    }
    return image;
  }

  XvfbScreen screen_{640, 480};
  const Picture picture_{80, 60, [](int, int y) { return grey(y < 30 ? 90 : 200); }};
  std::unique_ptr<Window> window_;  // goes after the layer, and SDL with it, before the server
  std::shared_ptr<AAPLEAGLLayer> layer_;
};

TEST_F(OnScreen, ShowsItsViewsUprightAndWhatASnapshotHasSeenBefore) {
  const Image image = waitFor(200, 120);
  const SDL_Rect content = boxOf(image, {255, 0, 0});
  ASSERT_EQ(content.w, 200);
  ASSERT_EQ(content.h, 120);
  const SDL_Rect top = boxOf(image, expectedRgb(grey(90), kColorConversion601));
  const SDL_Rect low = boxOf(image, expectedRgb(grey(200), kColorConversion601));
  EXPECT_EQ(top.x - content.x, 100);
  EXPECT_EQ(top.y - content.y, 20);
  EXPECT_EQ(top.w, 80);
  EXPECT_EQ(low.y + low.h - content.y, 80);
  for (int i = 0; i < 5; ++i) {  // what is still to be drawn for the size
    EXPECT_TRUE(window_->runTurn());
  }
  window_->contentView()->setBackgroundColor(UIColor(0, 0, 1));
  WindowPicture picture;
  EXPECT_TRUE(window_->snapshot(picture));
  EXPECT_EQ(boxOf(waitFor(200, 120, {0, 0, 255}), {0, 0, 255}).w, 200);
}

TEST_F(OnScreen, FollowsItsSizeAndComesBackWhenItWasHidden) {
  int resizes = 0;
  window_->setEventHandler(
      [&](const WindowEvent& event) { resizes += event.kind == WindowEventKind::Resized; });
  waitFor(200, 120);
  SDL_SetWindowSize(SDL_GL_GetCurrentWindow(), 300, 140);
  EXPECT_EQ(boxOf(waitFor(300, 140), {255, 0, 0}).w, 300);
  EXPECT_EQ(window_->contentView()->frame().size.width, 300);
  EXPECT_GE(resizes, 1);
  std::vector<WindowEventKind> told;
  window_->setEventHandler([&](const WindowEvent& event) { told.push_back(event.kind); });
  SDL_HideWindow(SDL_GL_GetCurrentWindow());
  for (int i = 0; i < 5; ++i) {
    layer_->setPixelBuffer(picture_.get());
    EXPECT_TRUE(window_->runTurn());
  }
  EXPECT_EQ(screen_.screenshot().at(320, 250), (Rgb{0, 0, 0}));
  EXPECT_FALSE(window_->isVisible());
  EXPECT_THAT(told, testing::Contains(WindowEventKind::Hidden));
  SDL_ShowWindow(SDL_GL_GetCurrentWindow());
  EXPECT_EQ(boxOf(waitFor(300, 140), {255, 0, 0}).w, 300);
  EXPECT_TRUE(window_->isVisible());
  EXPECT_THAT(told, testing::Contains(WindowEventKind::Shown));
}

}  // namespace
}  // namespace quorvid::test
