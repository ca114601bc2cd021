// What a consumer sees that holds a frame for longer than a worker waits for it. A program of its
// own: this is the race that the thread sanitizer is told to let pass, and all others here are held
// to none.
#include <gtest/gtest.h>

#include <cstring>

#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

TEST(SlowConsumer, ReadsBytesOfTwoAndThenTheSecondWhole) {
  TestServer server;
  VideoRun run(ThreadVideoSourceForFleet, server.port);
  Peer peer = server.acceptRequest(81);
  const auto packet = [](char fill) {
    return "V" + word(QUORVID_FRAME_CAPACITY) + zeros(14) +
           std::string(QUORVID_FRAME_CAPACITY, fill);
  };
  peer.send(zeros(18) + packet('a'));
  std::string seen(QUORVID_FRAME_CAPACITY, ' ');
  const auto look = [&] { return std::memcpy(seen.data(), run.frame.data(), seen.size()); };
  ASSERT_TRUE(eventually([&] { return get(run.frameLen) > 0 && get(run.canGetFrame) == 1; }));
  ASSERT_TRUE(look() && seen == std::string(seen.size(), 'a'));
  peer.send(packet('b'));
  EXPECT_TRUE(eventually([&] {
    look();
    EXPECT_EQ(seen.find_first_not_of("ab"), seen.npos);
    return seen.back() == 'b';
  }));
  EXPECT_EQ(run.take(), std::string(seen.size(), 'b'));
}

}  // namespace
}  // namespace quorvid::test
