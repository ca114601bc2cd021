#include <gtest/gtest.h>

#include <limits>

#include "sim/SimProcess.h"
#include "sim/WireClient.h"
#include "support/Eventually.h"

namespace {

using End = WireClient::End;

TEST(Faults, OfTheFleetStream) {
  SimProcess sim({"--fault", "answer:fleet:7", "--fault-times", "1"});
  WireClient refused(sim.port("fleet"), fleetRequest("A1", 0));
  EXPECT_EQ(int32At(refused.readAll(), 0), 7);
  WireClient again(sim.port("fleet"), fleetRequest("A1", 0));
  EXPECT_EQ(again.read(18), WireBytes(18)) << "only the first connection is hit";
  SimProcess bad({"--fault", "bad-kind:fleet:2"});
  WireClient client(bad.port("fleet"), fleetRequest("A1", 0));
  client.read(18);
  ASSERT_TRUE(client.fleetFrame());
  EXPECT_EQ(client.read(1).at(0), 'X');
}

TEST(Faults, EndAfterSoManyBytes) {
  struct Case {
    const char* fault;
    std::size_t bytes;
    End end;
  };
  for (const auto& [fault, bytes, end] :
       {Case{"close:fleet:5000", 5000, End::Order}, Case{"reset:fleet:5000", 5000, End::Reset},
        Case{"stall:fleet:5000", 5000, End::Silence}, Case{"short-header:fleet", 9, End::Order},
        Case{"random:fleet:300", 300, End::Order}}) {
    SimProcess sim({"--fault", fault});
    WireClient client(sim.port("fleet"), fleetRequest("A1", 0));
    EXPECT_EQ(client.readAll(1).size(), bytes) << fault;
    EXPECT_EQ(client.end(), end) << fault;
  }
}

TEST(Faults, OfLengthsAndPlaces) {
  SimProcess sim({"--fault", "length:fleet:131072", "--fault", "length:list:2147483648", "--fault",
                  "count:list:-1", "--fault", "close:car:5", "--fault-sweep", "2", "--size",
                  "96x96"});
  WireClient fleet(sim.port("fleet"), fleetRequest("A1", 0));
  fleet.read(18);
  WireBytes payload;
  for (int i = 0; i < 10; ++i) payload = fleet.fleetFrame().value().payload;
  EXPECT_EQ(payload.size(), 131072u);
  const WireBytes list = WireClient(sim.port("list"), listRequest()).readAll();
  EXPECT_EQ(int32At(list, 120), -1);
  EXPECT_EQ(int32At(list, 124 + 280), std::numeric_limits<std::int32_t>::min());
  for (const std::size_t bytes : {5, 6, 5}) {
    EXPECT_EQ(WireClient(sim.port("car"), carRequest("A1", 0)).readAll().size(), bytes);
  }
}

TEST(Faults, OfTheReplies) {
  SimProcess sim({"--fault", "wrong-command:list", "--fault", "too-large:list", "--fault",
                  "short-record:list", "--fault", "negative:relay", "--fault", "wrong-tag:relay"});
  WireClient list(sim.port("list"), listRequest());
  const WireBytes reply = list.readAll();
  ASSERT_EQ(reply.size(), 124u + 280 + 100);
  EXPECT_EQ(int32At(reply, 12), 0x8002);
  EXPECT_EQ(int32At(reply, 404), 1'000'000);
  WireClient relay(sim.port("relay"), relayRequest("A1", 0));
  const WireBytes head = relay.read(128);
  EXPECT_EQ(std::string(head.begin(), head.begin() + 8), "3GAPV199");
  EXPECT_EQ(int32At(head, 16), -1);
}

TEST(Faults, RefusedForATime) {
  SimProcess sim({"--fault", "refuse:fleet:1"});
  EXPECT_FALSE(WireClient(sim.port("fleet"), fleetRequest("A1", 0)).connected());
  EXPECT_TRUE(WireClient(sim.port("car"), carRequest("A1", 0)).connected());
  EXPECT_TRUE(
      eventually([&] { return WireClient(sim.port("fleet"), fleetRequest("A1", 0)).connected(); }));
}

TEST(Faults, OneByteAtATimeChangesNoByte) {
  SimProcess sim({"--items", "0", "--fault", "one-byte:list:3000", "--fault", "delay:list:200"});
  SimProcess plain({"--items", "0"});
  WireClient slow(sim.port("list"), listRequest());
  WireBytes pieced = slow.readSome(1000);
  EXPECT_LT(pieced.size(), 100u);
  const WireBytes rest = slow.readAll();
  pieced.insert(pieced.end(), rest.begin(), rest.end());
  EXPECT_EQ(slow.end(), End::Order);
  WireClient whole(plain.port("list"), listRequest());
  EXPECT_EQ(pieced, whole.readAll());
}

TEST(SlowClient, LosesFramesUpToAKeyFrame) {
  SimProcess sim({"--size", "1280x960", "--bitrate", "20000000", "--fps", "100", "--gop", "50"});
  WireClient client(sim.port("car"), carRequest("A1", 0));
  ASSERT_TRUE(sim.says("does not keep up"));
  auto frame = client.carFrame();
  int last = 0;
  while (frame && int32At(frame->header, 8) == ++last && last < 2000) frame = client.carFrame();
  ASSERT_TRUE(frame && last < 2000);
  EXPECT_TRUE(frame->key());
}

}  // namespace
