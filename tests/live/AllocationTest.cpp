// What a frame allocates on its way from the wire to the picture, once a few have come: nothing.
//
// Counted are operator new, whoever calls it, and the C functions where objects of our own call
// them: the linker leads those calls here. What libavcodec, libyuv and the system's libraries take
// for themselves with malloc isn't counted.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "base/Clock.h"
#include "connection/TestServer.h"
#include "live/LiveSession.h"
#include "support/H264TestStream.h"

namespace {

std::atomic<int> allocations{0};
std::atomic<std::size_t> refusedFrom{SIZE_MAX};  // so large a block isn't there for a session
thread_local bool isTestsOwn = false;  // what this thread allocates is no business of a frame

void count() {
  if (!isTestsOwn) ++allocations;
}

}  // namespace

// The linker's names. NOLINTBEGIN(readability-identifier-naming)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);
void* __real_aligned_alloc(std::size_t alignment, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return count(), __real_malloc(size);
}
void* __wrap_calloc(std::size_t items, std::size_t size) {
  return count(), __real_calloc(items, size);
}
void* __wrap_realloc(void* old, std::size_t size) {
  return count(), __real_realloc(old, size);
}
void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
  return count(), __real_aligned_alloc(alignment, size);
}
}
// NOLINTEND(readability-identifier-naming)

// Not inlined: g++ takes a pair of its own for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  count();
  void* const made = !isTestsOwn && size >= refusedFrom ? nullptr : __real_malloc(size);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}
[[gnu::noinline]] void operator delete(void* made) noexcept {
  std::free(made);
}
[[gnu::noinline]] void operator delete(void* made, std::size_t /*size*/) noexcept {
  std::free(made);
}

namespace quorvid::test {
namespace {

constexpr std::size_t kFrames = 20;  // in which all sizes have come

const H264TestStream& stream() {
  static const H264TestStream encoded = encodeTestStream({.frames = kFrames});
  return encoded;
}

std::string packet(bool isFleet, int number, const std::string& payload) {
  const std::string length = word(static_cast<std::int64_t>(payload.size()));
  if (isFleet) return 'V' + length + std::string(14, 'n') + payload;
  return "3GTSV100" + word(number) + zeros(4) + length + zeros(16) + payload;
}

LiveTarget targetAt(const TestServer& server) {
  LiveTarget target;
  target.host = "127.0.0.1";
  target.port = server.port;
  target.device = "TRUCK-7";
  return target;
}

TEST(Allocation, AWorkerNeedsNoneForAFrame) {
  isTestsOwn = true;
  for (const bool isFleet : {true, false}) {
    TestServer server;
    VideoRun run(isFleet ? ThreadVideoSourceForFleet : ThreadVideoSourceForCar, server.port);
    Peer peer = server.acceptRequest(isFleet ? 81 : 500);
    if (isFleet) peer.send(zeros(18));
    int before = 0;
    for (int number = 1; number < 40; ++number) {
      if (number == 10) before = allocations;
      peer.send(packet(isFleet, number, std::string(1000 * number, 'x')));
      ASSERT_EQ(run.take().size(), 1000U * number);
    }
    EXPECT_EQ(allocations - before, 0) << (isFleet ? "fleet" : "car");
    run.cancel();
  }
}

TEST(Allocation, FeedAndDecoderNeedNoneForAFrame) {
  isTestsOwn = true;
  FrameQueue queue;
  StreamDecoder decoder;
  int before = 0;
  for (std::size_t i = 0; i < 3 * kFrames; ++i) {
    const auto bytes = stream().frameBytes(i % kFrames);
    if (i == kFrames) before = allocations;
    isTestsOwn = false;
    queue.push(makeFrame(bytes, steadySeconds(), queue.blank(bytes.size())));
    auto frame = queue.take();
    const auto outcome = decoder.decode(*frame);
    const PicturePtr picture = decoder.picture();
    queue.giveBack(std::move(*frame));
    isTestsOwn = true;
    ASSERT_EQ(outcome, StreamDecoder::Outcome::Picture);
    ASSERT_NE(picture, nullptr);
  }
  EXPECT_EQ(allocations - before, 0);
}

// A frame may come before the last one's memory is given back, so a few more of those are made.
TEST(Allocation, ASessionNeedsHardlyAny) {
  isTestsOwn = true;
  constexpr std::size_t kRounds = 20;
  TestServer server;
  const auto session = LiveSession::start(targetAt(server), 60, std::make_shared<Wake>(), false);
  Peer peer = server.acceptRequest(81);
  peer.send(zeros(18));
  int before = 0;
  for (std::size_t i = 0; i < kRounds * kFrames; ++i) {
    if (i == kFrames) before = allocations;
    const auto bytes = stream().frameBytes(i % kFrames);
    peer.send(packet(true, 0, std::string(bytes.begin(), bytes.end())));
    ASSERT_TRUE(eventually([&] { return session->report().decoded == i + 1; }));
    isTestsOwn = false;
    session->prepare();
    isTestsOwn = true;
    // The host gets slow, and what was converted for it may be overtaken.
    if (i > kRounds / 2 * kFrames && i % 3 != 0) continue;
    isTestsOwn = false;
    if (auto picture = session->takePicture()) session->complete(*picture);
    isTestsOwn = true;
  }
  EXPECT_LT(allocations - before, static_cast<int>(kFrames));
  session->end();
}

TEST(Allocation, AFrameThatFindsNoneIsHeldAndToldAndTheNextKeyFrameShows) {
  isTestsOwn = true;
  TestServer server;
  const auto session = LiveSession::start(targetAt(server), 60, std::make_shared<Wake>(), false);
  Peer peer = server.acceptRequest(81);
  const auto bytes = stream().frameBytes(0);
  const std::string key = packet(true, 0, std::string(bytes.begin(), bytes.end()));
  peer.send(zeros(18) + key);
  ASSERT_TRUE(eventually([&] { return session->report().isReady; }));
  refusedFrom = 100'000;
  peer.send(packet(true, 0, std::string(100'000, 'x')));
  ASSERT_TRUE(eventually([&] { return session->report().held == 1; }));
  refusedFrom = SIZE_MAX;
  EXPECT_EQ(session->report().status.state, LiveState::WaitingForKeyFrame);
  EXPECT_EQ(session->report().status.reason, LiveReason::NoResources);
  peer.send(key);
  ASSERT_TRUE(eventually([&] { return session->report().decoded == 2; }));
  EXPECT_EQ(session->report().status.state, LiveState::Live);
  session->end();
}

}  // namespace
}  // namespace quorvid::test
