// The window without a display: the code path of a real one, with SDL's off-screen driver.
#include <SDL.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/RunLoop.h"
#include "quorvid/view/Window.h"
#include "view/HostScreen.h"
#include "view/Picture.h"

namespace quorvid::test {
namespace {

constexpr UIColor kRed = {1, 0, 0};
constexpr UIColor kBlue = {0, 0, 1};

std::unique_ptr<Window> openHeadless(int width, int height) {
  std::string error;
  auto window = Window::open({"test", width, height, true}, &error);
  EXPECT_NE(window, nullptr) << error;
  return window;
}

std::shared_ptr<UIView> addView(UIView& parent, CGRect frame, const UIColor& color) {
  auto view = UIView::initWithFrame(frame);
  view->setBackgroundColor(color);
  parent.addSubview(view);
  return view;
}

Image snapshotOf(Window& window) {
  WindowPicture picture;
  EXPECT_TRUE(window.snapshot(picture));
  Image image{picture.width, picture.height, {}};
  for (std::size_t i = 0; i + 2 < picture.rgb.size(); i += 3) {
    image.rgba.insert(image.rgba.end(),
                      {picture.rgb[i], picture.rgb[i + 1], picture.rgb[i + 2], 255});
  }
  return image;
}

TEST(Window, DrawsViewsAndPicturesWhereTheyBelong) {
  const auto window = openHeadless(200, 100);
  addView(*window->contentView(), CGRectMake(0, 0, 50, 100), kRed);
  const auto tile = addView(*window->contentView(), CGRectMake(100, 10, 60, 60), kBlue);
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(10, 20, 40, 30));
  ASSERT_NE(layer, nullptr);
  tile->layer()->addSublayer(layer);
  addView(*tile, CGRectMake(30, 20, 5, 5), UIColor::whiteColor());  // on top of the picture
  const Picture picture(40, 30, [](int, int y) { return grey(y < 15 ? 90 : 200); });
  layer->setPixelBuffer(picture.get());

  const Image image = snapshotOf(*window);
  ASSERT_EQ(image.width, 200);
  EXPECT_EQ(image.at(49, 99), (Rgb{255, 0, 0}));
  EXPECT_EQ(image.at(50, 50), (Rgb{0, 0, 0}));
  EXPECT_EQ(image.at(100, 10), (Rgb{0, 0, 255}));
  EXPECT_EQ(image.at(100, 9), (Rgb{0, 0, 0}));
  EXPECT_LE(distance(image.at(110, 30), expectedRgb(grey(90), kColorConversion601)), 2);
  EXPECT_LE(distance(image.at(149, 59), expectedRgb(grey(200), kColorConversion601)), 2);
  EXPECT_EQ(image.at(132, 32), (Rgb{255, 255, 255}));
  EXPECT_EQ(image.at(150, 60), (Rgb{0, 0, 255}));
}

TEST(Window, RefreshesAtSixtyHertzWithoutSpinning) {
  const auto window = openHeadless(32, 32);
  int ticks = 0;
  const auto link = CADisplayLink::displayLinkWithTarget([&] {
    if (++ticks == 30) window->close();
  });
  link->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
  const auto begin = std::chrono::steady_clock::now();
  window->run();
  link->invalidate();
  EXPECT_EQ(ticks, 30);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(29 * 1000 / 60));
  EXPECT_FALSE(window->runTurn());
}

// A key as SDL reports it: pressed, then what it writes.
void press(SDL_Keycode code, const char* text, bool repeat = false) {
  SDL_Event event{};
  event.type = SDL_KEYDOWN;
  event.key.windowID = SDL_GetWindowID(SDL_GL_GetCurrentWindow());
  event.key.repeat = repeat ? 1 : 0;
  event.key.keysym.sym = code;
  SDL_PushEvent(&event);
  event = {};
  event.type = SDL_TEXTINPUT;
  event.text.windowID = SDL_GetWindowID(SDL_GL_GetCurrentWindow());
  std::strcpy(event.text.text, text);
  if (*text != 0) SDL_PushEvent(&event);
}

void click(int x, int y, Uint8 clicks) {
  SDL_Event event{};
  event.type = SDL_MOUSEBUTTONDOWN;
  event.button.windowID = SDL_GetWindowID(SDL_GL_GetCurrentWindow());
  event.button.button = SDL_BUTTON_LEFT;
  event.button.clicks = clicks;
  event.button.x = x;
  event.button.y = y;
  SDL_PushEvent(&event);
}

TEST(Window, DeliversKeysClicksResizesAndTheEnd) {
  const auto window = openHeadless(64, 48);
  std::vector<WindowEvent> events;
  window->setEventHandler([&](const WindowEvent& event) { events.push_back(event); });
  while (SDL_PollEvent(nullptr) != 0 && window->runTurn()) {  // what opening has left
  }
  events.clear();
  press(SDLK_MINUS, "?");
  press(SDLK_MINUS, "?", true);
  press(SDLK_q, "Q");
  press(SDLK_e, "\u00e9");
  press(SDLK_F11, "");
  press(SDLK_F13, "");
  press(SDLK_ESCAPE, "");
  for (Uint8 clicks = 1; clicks <= 3; ++clicks) click(10, 20, clicks);
  EXPECT_TRUE(window->runTurn());
  std::string seen;
  for (const WindowEvent& event : events) {
    if (event.kind == WindowEventKind::Key && event.key > 0) seen += event.key;
    if (event.functionKey > 0) seen += " F" + std::to_string(event.functionKey) + " ";
    if (event.kind == WindowEventKind::Click) seen += std::to_string(event.clicks);
  }
  EXPECT_EQ(seen,
            "?q F11 \x1b"
            "121");
  EXPECT_EQ(events.back().x, 10);
  EXPECT_EQ(events.back().y, 20);
  events.clear();

  SDL_SetWindowSize(SDL_GL_GetCurrentWindow(), 128, 96);
  EXPECT_TRUE(window->runTurn());
  SDL_Event quit{};
  quit.type = SDL_QUIT;
  SDL_PushEvent(&quit);
  EXPECT_FALSE(window->runTurn());
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].kind, WindowEventKind::Resized);
  EXPECT_EQ(window->contentView()->frame().size.width, 128);
  EXPECT_EQ(events[1].kind, WindowEventKind::Close);
  EXPECT_EQ(snapshotOf(*window).width, 128);
}

// Shows the layer in three windows, one after the other, without drawing it anew in the second.
void showInThreeWindows(std::shared_ptr<AAPLEAGLLayer> layer) {
  const Picture picture(32, 32, [](int, int) { return grey(235); });
  for (int i = 0; i < 3; ++i) {
    const auto window = openHeadless(64, 32);
    if (layer == nullptr) layer = AAPLEAGLLayer::initWithFrame(CGRectMake(32, 0, 32, 32));
    window->contentView()->layer()->addSublayer(layer);
    if (i != 1) layer->setPixelBuffer(picture.get());
    EXPECT_TRUE(window->runTurn());
    EXPECT_LE(distance(snapshotOf(*window).at(48, 16), {255, 255, 255}), 2) << i;
  }
}

TEST(Window, ALayerOutlivesTheWindowItWasMadeInAndMayBeMadeBefore) {
  showInThreeWindows(nullptr);
  showInThreeWindows(AAPLEAGLLayer::initWithFrame(CGRectMake(32, 0, 32, 32)));
}

TEST(Window, LeavesTheHostsContextCurrent) {
  const auto window = openHeadless(64, 32);
  const HostScreen host(HostDisplay::Surfaceless, HostApi::Gles3, 8, 8);
  EXPECT_TRUE(window->runTurn());
  EXPECT_TRUE(host.isCurrent());
  snapshotOf(*window);
  EXPECT_TRUE(host.isCurrent());
}

TEST(Window, SaysWhyThereIsNone) {
  std::string error;
  EXPECT_EQ(Window::open({"none", 0, 10, true}, &error), nullptr);
  EXPECT_EQ(error, "the size of a window is 1 to 8192 points each way");
  const auto first = openHeadless(10, 10);
  EXPECT_EQ(Window::open({"second", 10, 10, true}, &error), nullptr);
  EXPECT_EQ(error, "another window is open already");
}

TEST(Window, SaysThatThereIsNoDisplay) {
  std::string error;
  setenv("DISPLAY", ":987", 1);
  unsetenv("WAYLAND_DISPLAY");
  for (const bool isNamed : {true, false}) {  // SDL would draw off screen by itself
    isNamed ? setenv("SDL_VIDEODRIVER", "x11", 1) : unsetenv("SDL_VIDEODRIVER");
    EXPECT_EQ(Window::open({"none", 10, 10, false}, &error), nullptr);
    EXPECT_EQ(error.find("no display: "), 0U) << error;
  }
}

}  // namespace
}  // namespace quorvid::test
