#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "apps/common/Stream.h"
#include "connection/TestServer.h"

namespace quorvid::app {
namespace {

// Each takes a hundred times as much memory as it has bytes.
TEST(StreamReceiver, AFloodOfTinyFramesHasToWaitInTheServer) {
  constexpr int kFlood = 1'000'000, kChunk = 1'000;
  test::TestServer server;
  StreamTarget target;
  target.server = {"127.0.0.1", server.port};
  target.device = "TRUCK-7";
  auto receiver = std::make_unique<StreamReceiver>(target);
  test::Peer peer = server.acceptRequest(81);
  std::atomic<int> sent = 0;
  std::thread flood([&] {
    std::string chunk;
    for (int i = 0; i < kChunk; ++i) chunk += 'V' + test::word(1) + std::string(14, 'n') + 'x';
    for (peer.send(test::zeros(18)); sent < kFlood; sent += kChunk) peer.send(chunk);
  });
  for (int before = -1; sent < kFlood && sent != before;) {
    before = sent;
    std::this_thread::sleep_for(std::chrono::seconds(5));  // a sender wakes seldom
  }
  EXPECT_LT(sent, kFlood);
  receiver.reset();
  flood.join();
}

}  // namespace
}  // namespace quorvid::app
