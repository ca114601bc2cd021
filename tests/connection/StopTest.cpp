// CancelVideoSource against servers that never let a read end. A worker that isn't reached stays
// for 10 s at least.
#include <gtest/gtest.h>

#include "connection/ServerConnection.h"
#include "connection/Socket.h"
#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kFarTooLong(5);

const std::string kFleetPacket = zeros(18) + "V" + word(9000) + zeros(14) + "cut";
const std::string kCarFrame = "3GTSV100" + word(1) + zeros(4) + word(9000) + zeros(16) + "cut";

TEST(Stop, EndsAReadAndDeliversNothing) {
  const struct {
    decltype(&ThreadVideoSourceForFleet) worker;
    std::string sent;
    bool trickles;
    std::int32_t result;
  } cases[] = {{ThreadVideoSourceForFleet, kFleetPacket, false, 0},
               {ThreadVideoSourceForFleet, kFleetPacket, true, 0},
               {ThreadVideoSourceForCar, "3GTSV", false, 0},
               {ThreadVideoSourceForCar, kCarFrame, true, 0},
               {ThreadGetRelayForCar, listHeader(0, "3GAPV105", 0x8001, 500), true, -1}};
  for (const auto& stopped : cases) {
    TestServer server;
    VideoRun run(stopped.worker, server.port);
    Peer peer = server.acceptRequest(stopped.worker == ThreadVideoSourceForFleet ? 81 : 500);
    peer.send(stopped.sent);
    std::atomic<bool> ended{false};
    std::thread trickle([&] {
      for (int i = 0; i < 100 && !ended; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (stopped.trickles) peer.send("x");
      }
      peer.finish();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(250));  // it reads by now, as a rule
    const auto start = Clock::now();
    EXPECT_EQ(run.cancel(), stopped.result) << &stopped - cases;
    EXPECT_LT(Clock::now() - start, kFarTooLong) << &stopped - cases;
    EXPECT_EQ(run.frameLen, 0);
    ended = true;
    trickle.join();
  }
}

TEST(Stop, LeavesOtherWorkersAloneAndNothingBehind) {
  TestServer server;
  server.listen(60);
  VideoRun other(ThreadVideoSourceForFleet, server.port);
  Peer peer = server.acceptRequest(81);
  const auto before = openDescriptors();
  peer.send(zeros(18));
  for (int i = 0; i < 60; ++i) {
    peer.send("A" + word(1) + zeros(15));  // so that it doesn't take us for silent
    VideoRun run(ThreadVideoSourceForFleet, server.port);
    if (i >= 10) {
      EXPECT_EQ(run.cancel(), 0);  // in any stage of its start
    } else {
      const Peer accepted = server.accept();
      EXPECT_EQ(run.cancel(), 0);
    }
  }
  EXPECT_LE(openDescriptors(), before);
  peer.send("V" + word(5) + zeros(14) + "frame");
  EXPECT_EQ(other.take(), "frame");
  EXPECT_EQ(other.cancel(), 0);
}

// The queue of a server that accepts nobody holds one connection.
TEST(Stop, ReachesALookupThatIsStillConnecting) {
  TestServer server("127.0.0.1", false);
  server.listen(0);
  const Socket filling(nullptr, ConnectToServer("127.0.0.1", server.port));
  VideoRun lookup(ThreadGetRelayForCar, server.port);
  ASSERT_TRUE(eventually([&] { return server.isAskedToConnect(); }));
  CancelVideoSource(&lookup.isCancel);
  const Peer first = server.accept(), silent = server.acceptRequest(500);
  const auto start = Clock::now();
  EXPECT_EQ(lookup.join(), -1);
  EXPECT_LT(Clock::now() - start, kFarTooLong);
}

}  // namespace
}  // namespace quorvid::test
