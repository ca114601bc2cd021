// A session with its real worker against a server on the loopback interface.
#include <gtest/gtest.h>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/session/VehicleVideo.h"
#include "session/FleetServer.h"
#include "support/Eventually.h"

namespace quorvid {
namespace {

using test::FleetClient;
using test::FleetServer;

TEST(SessionStream, HandsOverFrameAfterFrameAndLeavesWhenCancelled) {
  std::string request;
  std::atomic<bool> left{false};
  FleetServer server([&](FleetClient& client) {
    request = client.readRequest();
    client.sendAnswer();
    client.sendVideo("first frame");
    client.sendVideo(std::string(QUORVID_FRAME_CAPACITY, 'z'));
    client.send("V");  // and silence, in the middle of a packet
    client.waitForClose();
    left = true;
  });
  auto session = VehicleVideo::initWithVideo("127.0.0.1", server.port(), 80, 3, "acc", "pwd", 2,
                                             "BUS-17", true);
  ASSERT_NE(session, nullptr);
  eventually([&] { return session->getIsFrameReady(); });
  EXPECT_EQ(std::string(session->getFrameData(), session->getFrameLen()), "first frame");
  session->setIsFrameReady(false);
  eventually([&] { return session->getIsFrameReady(); });
  EXPECT_EQ(session->getFrameLen(), unsigned{QUORVID_FRAME_CAPACITY});
  EXPECT_EQ(session->getFrameData()[QUORVID_FRAME_CAPACITY - 1], 'z');
  session->setIsFrameReady(false);

  const auto start = std::chrono::steady_clock::now();
  session->cancelVideoThread();
  const std::weak_ptr<VehicleVideo> watch = session;
  session.reset();
  eventually([&] { return watch.expired(); });
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  eventually([&] { return left.load(); });
  EXPECT_EQ(request.substr(0, 9), "001BUS-17");
  EXPECT_EQ(server.clientsSoFar(), 1);
}

}  // namespace
}  // namespace quorvid
