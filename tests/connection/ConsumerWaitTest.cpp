// How often, and for how long each time, a worker waits for its last frame to be taken. Its pauses
// are counted instead of waited for, and the consumer acts within them, so that no time matters.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

std::atomic<VideoRun*> consumer{nullptr};  // no pause waits while there is one
std::atomic<int> pauses{0}, takesIn{0};    // takesIn: the pause that the frame is taken in, 0: none
std::atomic<double> longest{0};            // in milliseconds, of the pauses asked for
std::string taken;

void noteInsteadOfWaiting(const timespec& end) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const double asked = static_cast<double>(end.tv_sec - now.tv_sec) * 1e3 +
                       static_cast<double>(end.tv_nsec - now.tv_nsec) / 1e6;
  longest = std::max(longest.load(), asked);
  if (++pauses == takesIn) taken = consumer.load()->take();
}

// The first frame, "one", is taken in the last pause that is looked behind, then never. The lines
// first and last say how long each frame had to wait.
void expectWaits(decltype(&ThreadVideoSourceForFleet) worker, std::size_t requestSize,
                 const std::string& sent, int waits, double each, const std::string& first = "",
                 const std::string& last = "") {
  for (const bool never : {false, true}) {
    testing::internal::CaptureStdout();
    TestServer server;
    VideoRun run(worker, server.port);
    Peer peer = server.acceptRequest(requestSize);
    pauses = 0;
    longest = 0;
    takesIn = never ? 0 : waits - 1;
    consumer = &run;
    peer.send(sent);
    const bool delivered = eventually([&] { return get(run.frameLen) == 6; });
    consumer = nullptr;
    run.cancel();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), never ? first : first + last);
    EXPECT_TRUE(delivered);
    EXPECT_EQ(pauses, never ? waits : waits - 1);
    EXPECT_LE(longest, each);
    EXPECT_GT(longest, each / 2);
    EXPECT_EQ(std::exchange(taken, ""), never ? "" : "one");
    EXPECT_EQ(run.take(), "second");
  }
}

TEST(ConsumerWait, FleetLooksEachMillisecondAndSaysWhenTheFrameWasTaken) {
  const std::string rest = zeros(14);
  expectWaits(ThreadVideoSourceForFleet, 81,
              zeros(18) + "V" + word(3) + rest + "one" + "A" + word(1) + rest + "a" + "V" +
                  word(6) + rest + "second",
              500, 1, "Wait to canGetFrame 0\n", "Wait to canGetFrame 499\n");
}

TEST(ConsumerWait, CarLooksEachFiveMilliseconds) {
  const std::string start = "3GTSV100" + zeros(8), rest = zeros(16);
  expectWaits(ThreadVideoSourceForCar, 500,
              start + word(3) + rest + "one" + start + word(6) + rest + "second", 100, 5);
}

}  // namespace
}  // namespace quorvid::test

// Stands before the C library's own, which pauses end in; a static program has none behind it.
extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* end, timespec* left) {
  if (quorvid::test::consumer == nullptr) {
    return ::syscall(SYS_clock_nanosleep, clock, flags, end, left) == 0 ? 0 : errno;
  }
  quorvid::test::noteInsteadOfWaiting(*end);
  return 0;
}
