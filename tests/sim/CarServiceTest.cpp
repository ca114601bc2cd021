#include <gtest/gtest.h>

#include "sim/SimProcess.h"
#include "sim/WireClient.h"

namespace {

TEST(CarService, NumbersFramesFromOneAndLeavesGapsOnRequest) {
  SimProcess sim({"--gop", "5", "--fps", "50", "--gap", "4"});
  WireClient client(sim.port("car"), carRequest("A1", 0));
  for (const std::uint32_t number :
       {1u, 2u, 3u, 5u, 6u, 7u, 9u, 10u, 11u, 13u, 14u, 15u, 16u, 17u}) {
    const auto frame = client.carFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->number, number) << "the 16th is a key frame, which is never left out";
    EXPECT_EQ(frame->key(), number % 5 == 1);
    EXPECT_EQ(frame->type == 3, !frame->key());
  }
}

TEST(CarService, RefusesWithoutAByte) {
  SimProcess sim({"--channels", "2"});
  WireBytes tag = carRequest("A1", 0), tail = tag, word = tag;
  tag[3] = 'S';
  tail[499] = 1;
  word[12] = 0;
  for (const auto& request : {tag, tail, word, carRequest("A1", 2), carRequest("A1", 255)}) {
    WireClient client(sim.port("car"), request);
    EXPECT_TRUE(client.read(1).empty());
    EXPECT_EQ(client.end(), WireClient::End::Order);
  }
  EXPECT_TRUE(sim.says("channel 255 is not served"));
}

}  // namespace
