#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>

#include "sim/SimProcess.h"
#include "sim/WireClient.h"

namespace {

using End = WireClient::End;

// The bytes of a key frame: AccessUnitTest.cpp.
TEST(FleetService, SendsTheAnswerAndFramesInTheFixedLayout) {
  SimProcess sim({"--gop", "3", "--fps", "50", "--audio"});
  ASSERT_FALSE(sim.lines().empty());
  EXPECT_EQ(sim.lines()[0], "fleet " + std::to_string(sim.port("fleet")));
  WireClient client(sim.port("fleet"), fleetRequest("A1", 7));
  EXPECT_EQ(client.read(18), WireBytes(18));
  for (int i = 0; i < 8; ++i) {
    const auto video = client.fleetFrame(), sound = client.fleetFrame();
    ASSERT_TRUE(video && sound);
    EXPECT_EQ(video->header[0], 'V');
    EXPECT_EQ(int32At(video->payload, 0), 0x01000000);
    EXPECT_EQ(video->key(), i % 3 == 0);
    EXPECT_EQ(sound->header[0], 'A');
    EXPECT_EQ(sound->payload.size(), 160u);
  }
}

TEST(CarService, NumbersFramesFromOneAndLeavesGapsOnRequest) {
  SimProcess sim({"--gop", "5", "--fps", "50", "--gap", "4"});
  WireClient client(sim.port("car"), carRequest("A1", 0));
  for (const int number : {1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, 16, 17}) {
    const auto frame = client.carFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(textAt(frame->header, 0).substr(0, 8), "3GTSV100");
    EXPECT_EQ(int32At(frame->header, 8), number)
        << "the 16th is a key frame, which is never left out";
    EXPECT_EQ(frame->key(), number % 5 == 1);
    EXPECT_EQ(frame->header[33] == 3, !frame->key());
  }
}

TEST(FleetService, ServesSeveralClientsAtTheirOwnOrTheSameMomentAndLivesOnWhenTheyLeave) {
  for (const bool live : {false, true}) {
    std::vector<std::string> arguments{"--seconds", "2", "--gop", "5"};
    if (live) arguments.push_back("--live");
    SimProcess sim(arguments);
    WireClient first(sim.port("fleet"), fleetRequest("A1", 0));
    first.read(18);
    for (int i = 0; i < 7; ++i) ASSERT_TRUE(first.fleetFrame());
    std::optional<WireClient> second(std::in_place, sim.port("fleet"), fleetRequest("A1", 0));
    second->read(18);
    const auto key = second->fleetFrame();
    ASSERT_TRUE(key && key->key());
    second.reset();
    EXPECT_TRUE(sim.says("left"));
    // The first client's next key frame is the one with which the second began live.
    auto frame = first.fleetFrame();
    for (int i = 0; i < 5 && frame && !frame->key(); ++i) frame = first.fleetFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->payload == key->payload, live);
  }
}

// A loop of three pictures, whose numbers come again.
TEST(FleetService, WritesDownWhenPicturesLeft) {
  const std::string file = testing::TempDir() + "send-log-" + std::to_string(getpid());
  const auto now = [] { return std::chrono::steady_clock::now().time_since_epoch().count(); };
  SimProcess sim({"--seconds", "0.12", "--send-log", file});
  const auto before = now();
  WireClient client(sim.port("fleet"), fleetRequest("A1", 0));
  client.read(18);
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(client.fleetFrame());
  std::ifstream log(file);
  auto last = before;
  for (const char* line : {"accepted fleet#1", "picture fleet#1 0", "picture fleet#1 1",
                           "picture fleet#1 2", "picture fleet#1 0"}) {
    std::int64_t time = 0;
    std::string text;
    log >> time;
    std::getline(log >> std::ws, text);
    EXPECT_EQ(text, line);
    EXPECT_GE(time, last);
    last = time;
  }
  EXPECT_LE(last, now());
  std::remove(file.c_str());
}

TEST(ListService, DevicesMove) {
  SimProcess sim({"--devices", "A1,B2"});
  const WireBytes first = WireClient(sim.port("list"), listRequest()).readAll();
  const WireBytes second = WireClient(sim.port("list"), listRequest()).readAll();
  ASSERT_EQ(first.size(), 124u + 2 * 280);
  for (const std::size_t place : {124u + 132, 124u + 136, 404u + 132, 404u + 136}) {
    EXPECT_NE(int32At(first, place), int32At(second, place));
    EXPECT_NEAR(int32At(first, place), int32At(second, place), 2000);
  }
}

TEST(FleetService, RefusesWhatItDoesNotServe) {
  SimProcess sim({"--devices", "A1,B2", "--channels", "2"});
  for (const auto& request : {fleetRequest("C3", 0), fleetRequest("A1", 2)}) {
    const WireBytes answer = WireClient(sim.port("fleet"), request).readAll();
    ASSERT_EQ(answer.size(), 18u);
    EXPECT_NE(int32At(answer, 0), 0);
  }
  EXPECT_TRUE(sim.says("'C3' is not served"));
  WireClient client(sim.port("fleet"), fleetRequest("B2", 1));
  EXPECT_EQ(client.read(18), WireBytes(18));
}

TEST(EveryService, RefusesMalformedRequestsWithTheReason) {
  SimProcess sim({"--channels", "2"});
  const auto with = [](WireBytes request, std::size_t at, char byte) {
    request[at] = static_cast<std::uint8_t>(byte);
    return request;
  };
  const WireBytes fleet = fleetRequest("A1", 0), car = carRequest("A1", 0), list = listRequest(),
                  relay = relayRequest("A1", 0);
  const struct {
    const char* service;
    WireBytes request;
    const char* reason;
  } cases[] = {{"fleet", with(fleet, 0, '1'), "begin with 001"},
               {"fleet", with(fleet, 35, ' '), "two digits"},
               {"fleet", with(fleet, 37, 'K'), "no L"},
               {"fleet", with(fleet, 80, 1), "reserved bytes"},
               {"fleet", with(fleet, 34, 'x'), "device field"},
               {"fleet", fleetRequest("", 0), "no device"},
               {"car", with(car, 3, 'S'), "begin with 3GTXV100"},
               {"car", with(car, 12, 0), "not 2 and 164"},
               {"car", with(car, 499, 1), "bytes after the fields"},
               {"car", carRequest("A1", 254), "channel 254 is not served"},
               {"list", with(list, 7, '3'), "begin with 3GAPV104"},
               {"list", with(list, 116, 1), "byte 116 is 1 instead of 0"},
               {"list", relay, "byte 12 is 134 instead of 130"},
               {"relay", with(relay, 120, 84), "neither 84 nor 104"}};
  for (const auto& [service, request, reason] : cases) {
    WireClient client(sim.port(service), request);
    EXPECT_TRUE(client.read(1).empty()) << reason;
    EXPECT_EQ(client.end(), End::Order);
    EXPECT_TRUE(sim.says(reason)) << sim.errors();
  }
  WireClient brief(sim.port("fleet"), {'0', '0', '1'});
  brief.finishSending();
  EXPECT_TRUE(brief.read(1).empty());
  EXPECT_TRUE(sim.says("a request of 3 bytes instead of 81"));
  WireClient undefined(sim.port("list"), with(list, 120, 1));  // no meaning in this request
  EXPECT_FALSE(undefined.readAll().empty());
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
  for (const auto& [option, end] :
       {std::pair{"--drop-after", End::Order}, {"--stall-after", End::Silence}}) {
    SimProcess sim({option, "3"});  // a slow machine needs some of it for the first frame
    WireClient client(sim.port("fleet"), fleetRequest("A1", 0));
    EXPECT_GT(client.readAll(4).size(), 1000u);
    EXPECT_EQ(client.end(), end);
  }
}

TEST(CommandLine, OneSentenceAndTheExitStatus) {
  SimProcess running({"--json"});
  ASSERT_EQ(running.lines().size(), 1u);
  const std::string json = running.lines()[0];
  ASSERT_EQ(json.rfind("{\"fleet\":", 0), 0u) << json;
  const std::string taken = std::to_string(std::stoi(json.substr(9)));
  const std::vector<std::pair<std::vector<std::string>, int>> cases{
      {{"--nonsense"}, 2},
      {{"--size", "650x480"}, 2},
      {{"--size", "2048x1152"}, 2},
      {{"--fault", "toolate"}, 2},
      {{"--fault", "answer:car"}, 2},
      {{"--input", "/nonexistent"}, 1},
      {{"--input", "/proc/self/status"}, 1},
      {{"--port", taken}, 1}};
  for (const auto& [arguments, status] : cases) {
    SimProcess sim(arguments);
    EXPECT_TRUE(sim.lines().empty());
    EXPECT_EQ(sim.wait(), status) << arguments[0];
    const std::string errors = sim.errors();
    EXPECT_EQ(errors.find("quorvid-sim: "), 0u) << errors;
    EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
    EXPECT_TRUE(arguments[0] != "--input" || errors.find(arguments[1]) < errors.size()) << errors;
  }
}

}  // namespace
