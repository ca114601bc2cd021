// The car worker against a server driven by hand. The next frame is sent once the last was taken,
// so that nothing depends on the half second after which a frame is overwritten.
#include <gtest/gtest.h>

#include <ctime>

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

TEST_F(CarVideo, LengthOutOfBoundsBreaksTheConnection) {
  for (const std::int32_t length : {-1, QUORVID_FRAME_CAPACITY + 1}) {
    EXPECT_EQ(taken(frame(kAnchor, 1, "good")), "good");
    peer.send(frame(kLinked, 2, "", length));
    EXPECT_TRUE(peer.seesClose());
    peer = server.acceptRequest(500);
  }
}

// In the process's own time: clock() counts no other.
TEST_F(CarVideo, OrderlyCloseLeavesItAtRest) {
  peer.send(frame(kAnchor, 1, "cut", 10).substr(0, 30));
  peer.finish();
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC);
  EXPECT_EQ(run.stop(), 0);
}

}  // namespace
}  // namespace quorvid::test
