#include <gtest/gtest.h>

#include <csignal>

#include "sim/SimProcess.h"
#include "sim/WireClient.h"

namespace {

using End = WireClient::End;

TEST(FleetService, SendsTheAnswerAndFramesInTheFixedLayout) {
  SimProcess sim({"--gop", "3", "--fps", "50", "--sei", "--audio"});
  ASSERT_FALSE(sim.lines().empty());
  EXPECT_EQ(sim.lines()[0], "fleet " + std::to_string(sim.port("fleet")));
  WireClient client(sim.port("fleet"), fleetRequest("A1", 7));
  EXPECT_EQ(client.read(18), WireBytes(18));
  for (int i = 0; i < 8; ++i) {
    const auto video = client.fleetFrame();
    ASSERT_TRUE(video);
    EXPECT_EQ(video->kind, 'V');
    const WireBytes& p = video->payload;
    ASSERT_GT(p.size(), 34u);
    EXPECT_EQ(int32At(p, 0), 0x01000000);
    EXPECT_EQ(video->key(), i % 3 == 0);
    if (video->key()) {
      EXPECT_EQ(WireBytes(p.begin() + 13, p.begin() + 21),
                (WireBytes{0, 0, 0, 1, 0x68, 0xee, 0x3c, 0x80}));
      EXPECT_EQ(WireBytes(p.begin() + 21, p.begin() + 26), (WireBytes{0, 0, 0, 1, 6}));
      EXPECT_EQ(int32At(p, 30), 0x01000000);
      EXPECT_EQ(p[34] & 31, 5);
    } else {
      EXPECT_EQ(p[4] & 31, 1);
    }
    const auto sound = client.fleetFrame();
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->kind, 'A');
    EXPECT_EQ(sound->payload.size(), 160u);
  }
}

TEST(FleetService, ServesClientsAtTheirOwnPlaceAndLivesOnWhenTheyLeave) {
  SimProcess sim({});
  WireClient first(sim.port("fleet"), fleetRequest("A1", 0));
  first.read(18);
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(first.fleetFrame());
  {
    WireClient second(sim.port("fleet"), fleetRequest("A1", 0));
    second.read(18);
    const auto frame = second.fleetFrame();
    ASSERT_TRUE(frame);
    EXPECT_TRUE(frame->key());
  }
  EXPECT_TRUE(sim.says("left"));
  EXPECT_TRUE(first.fleetFrame());
}

TEST(FleetService, LiveClientsSeeTheSameMoment) {
  SimProcess sim({"--live", "--seconds", "2", "--gop", "5"});
  WireClient first(sim.port("fleet"), fleetRequest("A1", 0));
  first.read(18);
  for (int i = 0; i < 7; ++i) ASSERT_TRUE(first.fleetFrame());
  WireClient second(sim.port("fleet"), fleetRequest("A1", 0));
  second.read(18);
  const auto key = second.fleetFrame();
  ASSERT_TRUE(key && key->key());
  // The first client's next key frame is the one with which the second began.
  auto frame = first.fleetFrame();
  for (int i = 0; i < 5 && frame && !frame->key(); ++i) frame = first.fleetFrame();
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->payload, key->payload);
}

TEST(FleetService, RefusesWhatItDoesNotServe) {
  SimProcess sim({"--devices", "A1,B2", "--channels", "2"});
  for (const auto& request : {fleetRequest("C3", 0), fleetRequest("A1", 2)}) {
    WireClient client(sim.port("fleet"), request);
    const WireBytes answer = client.read(19);
    ASSERT_EQ(answer.size(), 18u);
    EXPECT_NE(int32At(answer, 0), 0);
    EXPECT_EQ(client.end(), End::Order);
  }
  EXPECT_TRUE(sim.says("'C3' is not served"));
  EXPECT_TRUE(sim.says("channel 2 is not served"));
  WireClient client(sim.port("fleet"), fleetRequest("B2", 1));
  EXPECT_EQ(client.read(18), WireBytes(18));
}

TEST(FleetService, RefusesMalformedRequestsWithTheReason) {
  SimProcess sim({});
  WireBytes tag = fleetRequest("A1", 0), channel = tag, letter = tag, reserved = tag, text = tag;
  tag[0] = '1';
  channel[35] = ' ';
  letter[37] = 'K';
  reserved[80] = 1;
  text[34] = 'x';
  const std::vector<std::pair<WireBytes, const char*>> cases{
      {tag, "begin with 001"},      {channel, "two digits"}, {letter, "no L"},
      {reserved, "reserved bytes"}, {text, "device field"},  {fleetRequest("", 0), "no device"}};
  for (const auto& [request, reason] : cases) {
    WireClient client(sim.port("fleet"), request);
    EXPECT_TRUE(client.read(1).empty()) << reason;
    EXPECT_EQ(client.end(), End::Order);
    EXPECT_TRUE(sim.says(reason)) << sim.errors();
  }
  WireClient brief(sim.port("fleet"), {'0', '0', '1'});
  brief.finishSending();
  EXPECT_TRUE(brief.read(1).empty());
  EXPECT_TRUE(sim.says("a request of 3 bytes instead of 81"));
}

TEST(FleetService, EndsInTheStyleAskedForAndItsPortIsFreeAtOnce) {
  int port = 0;
  for (const bool reset : {false, true}) {
    SimProcess sim({"--port", std::to_string(port), "--close", reset ? "reset" : "order"});
    ASSERT_EQ(sim.lines().size(), 4u) << sim.errors();
    port = sim.port("fleet");
    WireClient client(port, fleetRequest("A1", 0));
    client.read(18);
    ASSERT_TRUE(client.fleetFrame());
    sim.signal(reset ? SIGINT : SIGTERM);
    client.readAll();
    EXPECT_EQ(client.end(), reset ? End::Reset : End::Order);
    EXPECT_EQ(sim.wait(), 0);
  }
}

TEST(FleetService, DropsOrFallsSilentAfterATime) {
  SimProcess dropping({"--drop-after", "0.3"});
  WireClient dropped(dropping.port("fleet"), fleetRequest("A1", 0));
  EXPECT_GT(dropped.readAll().size(), 1000u);
  EXPECT_EQ(dropped.end(), End::Order);
  SimProcess stalling({"--stall-after", "0.3"});
  WireClient stalled(stalling.port("fleet"), fleetRequest("A1", 0));
  EXPECT_GT(stalled.readAll(2).size(), 1000u);
  EXPECT_EQ(stalled.end(), End::Silence);
}

TEST(CommandLine, OneSentenceAndTheExitStatus) {
  SimProcess running({"--json"});
  ASSERT_EQ(running.lines().size(), 1u);
  const std::string json = running.lines()[0];
  ASSERT_EQ(json.rfind("{\"fleet\":", 0), 0u) << json;
  const std::string taken = std::to_string(std::stoi(json.substr(9)));
  const std::vector<std::pair<std::vector<std::string>, int>> cases{
      {{"--nonsense"}, 2},         {{"--size", "650x480"}, 2},     {{"--size", "2048x1152"}, 2},
      {{"--fault", "toolate"}, 2}, {{"--fault", "answer:car"}, 2}, {{"--input", "/nonexistent"}, 1},
      {{"--port", taken}, 1}};
  for (const auto& [arguments, status] : cases) {
    SimProcess sim(arguments);
    EXPECT_TRUE(sim.lines().empty());
    EXPECT_EQ(sim.wait(), status) << arguments[0];
    const std::string errors = sim.errors();
    EXPECT_EQ(errors.find("quorvid-sim: "), 0u) << errors;
    EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
  }
}

}  // namespace
