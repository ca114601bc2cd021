// What a picture costs in memory on its way from the decoder to the window: nothing.
#include <cstdlib>
#include <new>

#include "base/Clock.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/Window.h"
#include "session/path/LiveViewFixture.h"

namespace {

thread_local std::uint64_t taken = 0;

}  // namespace

void* operator new(std::size_t size) {
  ++taken;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace quorvid::test {
namespace {

constexpr std::uint64_t kToWarmUp = 20, kCounted = 100;
constexpr std::uint64_t kForFigures = 10;  // samples of them are kept, two a second

TEST_F(LiveViewFixture, APictureIsDrawnWithoutTakingMemory) {
  FleetServer server([](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    const std::vector<std::string> frames = oneColouredFrames(kRust);
    for (std::size_t i = 0; client.sendVideo(frames[i % frames.size()]); ++i) {
      sleepForTimeInterval(0.03);
    }
  });
  const auto window = Window::open({"", 320, 240, true});
  ASSERT_NE(window, nullptr);
  const auto view = LiveView::initWithFrame(window->contentView()->bounds());
  window->contentView()->addSubview(view);
  LiveTarget target;
  target.host = "127.0.0.1";
  target.port = server.port();
  target.device = "BUS-17";
  ASSERT_TRUE(view->connect(target));
  const double end = steadySeconds() + 30;
  const auto turnUntil = [&](std::uint64_t shown) {
    while (view->figures().shown < shown && steadySeconds() < end) window->runTurn();
  };
  turnUntil(kToWarmUp);
  const std::uint64_t before = taken;
  turnUntil(kToWarmUp + kCounted);
  EXPECT_LE(taken - before, kForFigures);
  EXPECT_GE(view->figures().shown, kToWarmUp + kCounted);
}

}  // namespace
}  // namespace quorvid::test
