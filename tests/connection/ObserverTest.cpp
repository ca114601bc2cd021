// What a video worker tells an observer, and that nothing else is done then: no line, no slot.
#include <gtest/gtest.h>
#include <netdb.h>

#include <mutex>

#include "connection/StreamObserver.h"
#include "connection/TestServer.h"

namespace quorvid::test {
namespace {

using Event = StreamEvent;
using Events = std::vector<std::pair<StreamEvent, std::int32_t>>;

class ObservedRun : StreamObserver {
  template <class Step>
  auto locked(Step step) {
    const std::lock_guard guard(mutex_);
    return step();
  }

 public:
  ObservedRun(decltype(&runFleetVideo) worker, std::int32_t port, const char* host = "127.0.0.1")
      : thread_([this, worker, port, host] {
          worker({host, port, 0, 2, "acc", "pwd", &isCancel_, "stamp", "car", nullptr, nullptr,
                  nullptr},
                 this);
        }) {}
  ~ObservedRun() override { end(); }
  void end() {
    CancelVideoSource(&isCancel_);
    if (thread_.joinable()) thread_.join();
  }
  // What was told, once it is as much as this.
  Events events(std::size_t count) {
    eventually([&] { return locked([&] { return events_.size() >= count; }); });
    return locked([&] { return events_; });
  }
  std::string frames() {
    return locked([&] { return frames_; });
  }

 private:
  void told(StreamEvent event, std::int32_t detail) override {
    locked([&] { events_.emplace_back(event, detail); });
  }
  void frameArrived(const std::uint8_t* bytes, std::size_t size) override {
    locked([&] { frames_.append(bytes, bytes + size) += ' '; });
  }

  std::mutex mutex_;
  Events events_;
  std::string frames_;
  std::uint8_t isCancel_ = 0;
  std::thread thread_;
};

const std::string kAnswer = zeros(18), kRest = zeros(14);
const std::string kFrames = "V" + word(3) + kRest + "one" + "V" + word(3) + kRest + "two";
const std::string kCarFrame = "3GTSV100" + word(1) + zeros(4);

struct Case {
  const char* name;
  decltype(&runFleetVideo) worker;
  std::string sent;
  Events told;
  std::string frames = "";
  bool resets = false;
};
void PrintTo(const Case& lost, std::ostream* out) {
  *out << lost.name;
}

class ObservedLoss : public testing::TestWithParam<Case> {};

TEST_P(ObservedLoss, IsToldWithItsReason) {
  testing::internal::CaptureStdout();
  TestServer server;
  ObservedRun run(GetParam().worker, server.port);
  Peer peer = server.acceptRequest(81);
  peer.send(GetParam().sent);
  GetParam().resets ? peer.reset() : peer.finish();
  Events expected{{Event::Resolving, 0}, {Event::Connecting, 0}, {Event::Connected, 0}};
  expected.insert(expected.end(), GetParam().told.begin(), GetParam().told.end());
  EXPECT_EQ(run.events(expected.size()), expected);
  EXPECT_EQ(run.frames(), GetParam().frames);
  run.end();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

const std::pair kPause{Event::Pausing, 3000}, kAccepted{Event::Accepted, 0};
const Events kClosed{{Event::Closed, 0}, kPause};

INSTANTIATE_TEST_SUITE_P(
    , ObservedLoss,
    testing::Values(
        Case{"Refused", runFleetVideo, word(7), {{Event::Refused, 7}, kPause}},
        Case{"NoAnswer", runFleetVideo, "", kClosed},
        Case{"Closed",
             runFleetVideo,
             kAnswer + kFrames,
             {kAccepted, kClosed[0], kPause},
             "one two "},
        Case{"CutFrame",
             runFleetVideo,
             kAnswer + "V" + word(9) + kRest + "cut",
             {kAccepted, kClosed[0], kPause}},
        Case{"UnknownKind",
             runFleetVideo,
             kAnswer + "v",
             {kAccepted, {Event::UnknownKind, 'v'}, kPause}},
        Case{"WrongLength",
             runFleetVideo,
             kAnswer + "V" + word(-1),
             {kAccepted, {Event::WrongLength, -1}, kPause}},
        Case{"CarWrongLength",
             runCarVideo,
             kCarFrame + word(QUORVID_FRAME_CAPACITY + 1) + zeros(16),
             {{Event::WrongLength, QUORVID_FRAME_CAPACITY + 1}, kPause}},
        Case{"CarReset", runCarVideo, "", {{Event::Reset, ECONNRESET}, kPause}, "", true},
        Case{"CarClosed", runCarVideo, kCarFrame + word(3) + zeros(16) + "one", kClosed, "one "},
        Case{"NoRelay", runRelayVideo, listHeader(0, "3GAPV105", 1), {{Event::NoRelay, 0}}}),
    testing::PrintToStringParamName());

TEST(Observer, IsToldWhyNoConnectionComes) {
  const TestServer silent("127.0.0.1", false);
  ObservedRun refused(runCarVideo, silent.port), unknown(runRelayVideo, 80, "no..name");
  EXPECT_EQ(refused.events(4), (Events{{Event::Resolving, 0},
                                       {Event::Connecting, 0},
                                       {Event::Unreachable, ECONNREFUSED},
                                       kPause}));
  EXPECT_EQ(unknown.events(2)[1].first, Event::Unresolved);
}

TEST(Observer, FollowsALookupToItsRelayAndIsNotToldOfACancel) {
  TestServer server, relay;
  ObservedRun run(runRelayVideo, server.port);
  server.acceptRequest(500).send(listHeader(0) + "\x7F" + zeros(2) + "\1" + word(relay.port));
  Peer peer = relay.acceptRequest(500);
  peer.send(kCarFrame + word(3) + zeros(16) + "one");
  EXPECT_TRUE(eventually([&] { return run.frames() == "one "; }));
  run.end();
  const Events told = run.events(7);
  ASSERT_EQ(told.size(), 7U);
  EXPECT_EQ(told[3], std::pair(Event::RelayFound, relay.port));
  EXPECT_EQ(told[6], std::pair(Event::Connected, 0));
}

TEST(Observer, ImpossibleTargetsAreRefusedWithASentence) {
  const std::string k32(32, 'a'), k64(64, 'c');
  const VideoCall good{"host",          80,      0,       99,     "a", "p", nullptr, "t",
                       k32.c_str() + 1, nullptr, nullptr, nullptr};
  EXPECT_EQ(refusalOfFleet(good) + refusalOfCar(good), "");
  const auto with = [&](auto member, auto value) {
    VideoCall call = good;
    call.*member = value;
    return call;
  };
  EXPECT_EQ(refusalOfFleet(with(&VideoCall::acc, k64.c_str())), "");  // not in its record
  EXPECT_EQ(refusalOfFleet(with(&VideoCall::carId, k32.c_str())),
            "the device name has more than 31 characters");
  EXPECT_EQ(refusalOfCar(with(&VideoCall::carId, k64.c_str() + 1)), "");
  EXPECT_EQ(refusalOfCar(with(&VideoCall::carId, k64.c_str())),
            "the device name has more than 63 characters");
  for (const auto text : {&VideoCall::acc, &VideoCall::pwd, &VideoCall::timestamp}) {
    EXPECT_NE(refusalOfCar(with(text, k32.c_str())), "");
  }
  EXPECT_NE(refusalOfFleet(with(&VideoCall::host, "")), "");
  EXPECT_NE(refusalOfFleet(with(&VideoCall::mediaPort, 65536)), "");
  EXPECT_NE(refusalOfFleet(with(&VideoCall::channel, 100)), "");
  EXPECT_NE(refusalOfCar(with(&VideoCall::channel, -1)), "");
}

}  // namespace
}  // namespace quorvid::test
