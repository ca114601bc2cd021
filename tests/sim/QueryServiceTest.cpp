#include <gtest/gtest.h>

#include <cstring>

#include "sim/SimProcess.h"
#include "sim/WireClient.h"

namespace {

WireBytes listReply(const SimProcess& sim) {
  WireClient client(sim.port("list"), listRequest());
  WireBytes reply = client.readAll();
  EXPECT_EQ(client.end(), WireClient::End::Order);
  return reply;
}

std::string textAt(const WireBytes& bytes, std::size_t at) {
  return reinterpret_cast<const char*>(bytes.data() + at);
}

TEST(ListService, AnnouncesTheDevicesWhichMove) {
  SimProcess sim({"--devices", "A1,B2"});
  const WireBytes first = listReply(sim);
  ASSERT_EQ(first.size(), 124u + 2 * 280);
  EXPECT_EQ(textAt(first, 0).substr(0, 8), "3GAPV104");
  EXPECT_EQ(int32At(first, 12), 0x8001);
  EXPECT_GE(int32At(first, 16), 8);
  EXPECT_EQ(int32At(first, 120), 2);
  for (const std::size_t record : {124u, 404u}) {
    EXPECT_EQ(int32At(first, record), 280);
    EXPECT_EQ(textAt(first, record + 4), record == 124 ? "A1" : "B2");
    EXPECT_EQ(textAt(first, record + 68).substr(0, 5), "Truck");
    EXPECT_EQ(textAt(first, record + 143).size(), 8u) << "a time of day";
    EXPECT_EQ(textAt(first, record + 152).substr(0, 7), "driving");
  }
  const WireBytes second = listReply(sim);
  for (const std::size_t place : {124u + 132, 124u + 136, 404u + 132, 404u + 136}) {
    EXPECT_NE(int32At(first, place), int32At(second, place));
    EXPECT_NEAR(int32At(first, place), int32At(second, place), 2000);
  }
}

TEST(ListService, TagGarbageCountAndLengthAreSelectable) {
  SimProcess sim(
      {"--reply-tag", "3GAPV105", "--garbage", "50", "--items", "250", "--item-len", "300"});
  const WireBytes reply = listReply(sim);
  ASSERT_EQ(reply.size(), 50u + 124 + 250 * 300);
  EXPECT_EQ(textAt(reply, 50).substr(0, 8), "3GAPV105");
  EXPECT_EQ(int32At(reply, 170), 250);
  EXPECT_EQ(int32At(reply, 174 + 249 * 300), 300);
  EXPECT_EQ(textAt(reply, 174 + 249 * 300 + 4), "SIM0250");
  SimProcess none({"--items", "0"});
  EXPECT_EQ(listReply(none).size(), 124u);
}

TEST(ListService, RefusesOtherQuestions) {
  SimProcess sim({});
  WireBytes tag = listRequest(), flag = tag, tail = tag, undefined = tag;
  tag[7] = '3';
  flag[116] = 1;
  tail[204] = 1;
  undefined[120] = 1;  // no meaning in this request
  for (const auto& request : {tag, flag, tail, relayRequest("A1", 0)}) {
    WireClient client(sim.port("list"), request);
    EXPECT_TRUE(client.read(1).empty());
  }
  EXPECT_TRUE(sim.says("the word at byte 12 is 134 instead of 130"));
  WireClient client(sim.port("list"), undefined);
  EXPECT_FALSE(client.readAll().empty());
}

TEST(RelayService, PointsAtTheCarStream) {
  SimProcess sim({"--relay-extra", "20"});
  WireClient lookup(sim.port("relay"), relayRequest("A1", 1));
  const WireBytes reply = lookup.readAll();
  ASSERT_EQ(reply.size(), 124u + 20 + 8);
  EXPECT_EQ(int32At(reply, 12), 0x8001);
  EXPECT_EQ(int32At(reply, 16), 28);
  EXPECT_EQ(WireBytes(reply.begin() + 144, reply.begin() + 148), (WireBytes{127, 0, 0, 1}));
  EXPECT_EQ(int32At(reply, 148), sim.port("car"));
  EXPECT_TRUE(sim.says("device 'A1' channel 1"));
  WireClient car(int32At(reply, 148), carRequest("A1", 1));
  EXPECT_TRUE(car.carFrame());
  WireBytes wrong = relayRequest("A1", 1);
  wrong[120] = 84;
  WireClient refused(sim.port("relay"), wrong);
  EXPECT_TRUE(refused.read(1).empty());
}

}  // namespace
