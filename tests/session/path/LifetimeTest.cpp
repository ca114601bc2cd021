#include <malloc.h>

#include <filesystem>

#include "base/Clock.h"
#include "session/path/LiveViewFixture.h"

namespace quorvid::test {
namespace {

struct Usage {
  std::ptrdiff_t threads, descriptors, bytes;
};

std::ptrdiff_t entriesOf(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder),
                       std::filesystem::directory_iterator());
}

Usage usageNow() {
  const auto heap = mallinfo2();
  return {entriesOf("/proc/self/task"), entriesOf("/proc/self/fd"),
          static_cast<std::ptrdiff_t>(heap.uordblks + heap.hblkhd)};
}

constexpr bool isSanitized() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#elif defined(__has_feature)
  return __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
  return false;
#endif
}

class Lifetime : public LiveViewFixture {
 protected:
  static void stream(FleetClient& client) {
    static const auto frames = oneColouredFrames(kRust);
    client.readRequest();
    client.sendAnswer();
    for (std::size_t i = 0; client.sendVideo(frames[i % frames.size()]); ++i) {
      sleepForTimeInterval(0.005);
    }
  }

  void play(const std::shared_ptr<UIFleetLiveView>& view, bool untilShown) {
    view->playVideo();
    sessions_.emplace_back(view->videoH264());
    if (untilShown) refreshUntil([&] { return shows(*view, 160, 120, kRust); });
    view->stopVideo();
  }

  // Every worker has returned; its thread, the server's and what a driver does on the side (it
  // keeps a cache of shaders on disk) get some time to leave, too.
  Usage usageWhenQuiet(const Usage& goal) {
    for (const auto& session : sessions_) eventually([&] { return session.expired(); });
    sessions_ = {};
    Usage usage = usageNow();
    for (int i = 0; i < 2000 && !(server_.clientsNow() == 0 && usage.threads <= goal.threads &&
                                  usage.descriptors <= goal.descriptors);
         ++i) {
      sleepForTimeInterval(0.01);
      usage = usageNow();
    }
    return usage;
  }

  // Does it a few times first, for what is made once, then `times` times.
  void expectNothingLeft(int times, const std::function<void(int)>& once) {
    for (int i = 0; i < 20; ++i) {
      once(0);
    }
    usageWhenQuiet({1000, 1000, 0});
    sleepForTimeInterval(0.5);
    const Usage before = usageNow();
    for (int i = 0; i < times; ++i) {
      once(i);
    }
    const Usage after = usageWhenQuiet(before);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.descriptors, before.descriptors);
    // The worker's spare block of 64 bytes and the allocator's 16 beside it; and what pools keep,
    // which is less than one frame buffer or one layer's storage.
    const std::ptrdiff_t allowed = std::ptrdiff_t{80} * times + 100'000;
    if (!isSanitized()) {
      EXPECT_LE(after.bytes - before.bytes, allowed);
    }
    RecordProperty("grown_by_bytes", std::to_string(after.bytes - before.bytes));
  }

  FleetServer server_{stream};
  std::vector<std::weak_ptr<VehicleVideo>> sessions_;
};

TEST_F(Lifetime, TwoHundredSessionsOfOneView) {
  const auto view = makeView(server_, CGRectMake(0, 0, 320, 240));
  ASSERT_NE(view, nullptr);
  expectNothingLeft(200, [&](int i) { play(view, i % 20 == 0); });
}

TEST_F(Lifetime, FiftyViews) {
  expectNothingLeft(50, [&](int) {
    auto view = makeView(server_, CGRectMake(0, 0, 320, 240));
    ASSERT_NE(view, nullptr);
    play(view, true);
    const std::weak_ptr<UIFleetLiveView> watch = view;
    view.reset();
    EXPECT_TRUE(watch.expired());
  });
}

}  // namespace
}  // namespace quorvid::test
