// The car worker against a server driven by hand. The next frame is sent once the last was taken,
// so that nothing depends on the half second after which a frame is overwritten.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "connection/BlockingIO.h"
#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

constexpr char kAnchor = 5;  // any type that needs no predecessor
constexpr char kLinked = 3;

std::string frame(char type, std::int64_t seq, const std::string& payload,
                  std::int64_t payloadLen) {
  return "3GTSV100" + word(seq) + "skip" + word(payloadLen) + std::string(13, 'i') + type + "ii" +
         payload;
}
std::string frame(char type, std::int64_t seq, const std::string& payload) {
  return frame(type, seq, payload, static_cast<std::int64_t>(payload.size()));
}

struct CarVideo : testing::Test {
  std::string taken(const std::string& sent) {
    peer.send(sent);
    return run.take();
  }
  TestServer server;
  VideoRun run{ThreadVideoSourceForCar, server.port};
  Peer peer = server.acceptRequest(500);  // closed first, so that the worker need not wait
};

TEST_F(CarVideo, FindsTagsInGarbage) {
  EXPECT_EQ(server.request.substr(0, 8), "3GTXV100");
  EXPECT_EQ(server.request[178], 3);
  EXPECT_EQ(taken("xx" + frame(kAnchor, 9, "one")), "one");
  EXPECT_EQ(taken("3GTSV103GTSV10" + frame(kAnchor, 9, "") + frame(kAnchor, -9, "two")), "two");
  const std::string largest(QUORVID_FRAME_CAPACITY, 'L');
  EXPECT_EQ(taken(frame(kAnchor, 9, largest)), largest);
}

TEST_F(CarVideo, LinkedFramesAfterAGapAreDropped) {
  EXPECT_EQ(taken(frame(kLinked, 7, "lost") + frame(kLinked, 1, "first")), "first");
  EXPECT_EQ(taken(frame(kLinked, 2, "second")), "second");
  // A dropped frame moves nothing, and its length is not looked at.
  EXPECT_EQ(taken(frame(kLinked, 4, "lost", 0x7FFFFFFF) + frame(kLinked, 5, "lost", -1) +
                  frame(kAnchor, 0x7FFFFFFF, "anchor")),
            "anchor");
  EXPECT_EQ(taken(frame(kLinked, 0x80000000, "wrapped")), "wrapped");
  EXPECT_EQ(taken(frame(kLinked, 0x80000002, "lost") + frame(kLinked, 0x80000001, "next")), "next");
}

TEST_F(CarVideo, TagWindowOutlivesAConnectionButNotTheSequence) {
  EXPECT_EQ(taken(frame(kAnchor, 6, "old")), "old");
  peer.send("3GTSV");
  peer.reset();
  Peer again = server.acceptRequest(500);
  again.send(frame(kLinked, 1, "new").substr(5));
  EXPECT_EQ(run.take(), "new");
}

class CarVideoLength : public CarVideo, public testing::WithParamInterface<std::int32_t> {};

TEST_P(CarVideoLength, OutOfBoundsBreaksTheConnection) {
  EXPECT_EQ(taken(frame(kAnchor, 1, "good")), "good");
  peer.send(frame(kLinked, 2, "", GetParam()));
  EXPECT_TRUE(peer.seesClose());
  server.acceptRequest(500);
}

INSTANTIATE_TEST_SUITE_P(, CarVideoLength, testing::Values(-1, QUORVID_FRAME_CAPACITY + 1));

TEST_F(CarVideo, UntakenFrameIsOverwrittenAfterHalfASecond) {
  const auto start = std::chrono::steady_clock::now();
  peer.send(frame(kAnchor, 1, "first") + frame(kLinked, 2, "second"));
  EXPECT_TRUE(eventually([&] { return get(run.frameLen) == 6; }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, kConsumerPatience);
}

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

TEST_F(CarVideo, OrderlyCloseLeavesItAtRest) {
  peer.send(frame(kAnchor, 1, "cut", 10).substr(0, 30));
  peer.finish();
  const double before = processorSeconds();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  EXPECT_LT(processorSeconds() - before, 1.0);
  EXPECT_EQ(run.stop(), 0);
}

}  // namespace
}  // namespace quorvid::test
