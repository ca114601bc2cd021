// What a video worker tells an observer, and that nothing else is done then: no line, no slot.
#include <gtest/gtest.h>
#include <netdb.h>

#include <list>
#include <mutex>

#include "connection/ServerConnection.h"
#include "connection/Socket.h"
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
    errno = EDOM;  // what it calls may leave any
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

const std::pair kPause{Event::Pausing, 3000};

TEST(Observer, IsToldOfALossWithItsReason) {
  constexpr std::int32_t kTooLong = QUORVID_FRAME_CAPACITY + 1;
  const auto& fleet = runFleetVideo;
  const auto& car = runCarVideo;
  const struct {
    decltype(&runFleetVideo) worker;
    std::string sent;
    StreamEvent told;
    std::int32_t detail;
    std::string frames = "";
  } cases[] = {{fleet, word(7), Event::Refused, 7},
               {fleet, "", Event::Closed, 0},
               {fleet, kAnswer + kFrames, Event::Closed, 0, "one two "},
               {fleet, kAnswer + "V" + word(9) + kRest + "cut", Event::Closed, 0},
               {fleet, kAnswer + "v", Event::UnknownKind, 'v'},
               {fleet, kAnswer + "V" + word(-1), Event::WrongLength, -1},
               {car, kCarFrame + word(kTooLong) + zeros(16), Event::WrongLength, kTooLong},
               {car, "", Event::Reset, ECONNRESET},
               {car, kCarFrame + word(3) + zeros(16) + "one", Event::Closed, 0, "one "},
               {runRelayVideo, listHeader(0, "3GAPV105", 1), Event::NoRelay, 0}};
  testing::internal::CaptureStdout();
  std::list<ObservedRun> runs;  // which pause side by side
  for (const auto& lost : cases) {
    TestServer server;
    ObservedRun& run = runs.emplace_back(lost.worker, server.port);
    Peer peer = server.acceptRequest(81);
    peer.send(lost.sent);
    lost.told == Event::Reset ? peer.reset() : peer.finish();
    Events expected{{Event::Resolving, 0}, {Event::Connecting, 0}, {Event::Connected, 0}};
    if (lost.sent.substr(0, 18) == kAnswer) expected.emplace_back(Event::Accepted, 0);
    expected.emplace_back(lost.told, lost.detail);
    if (lost.told != Event::NoRelay) expected.push_back(kPause);
    EXPECT_EQ(run.events(expected.size()), expected) << &lost - cases;
    EXPECT_EQ(run.frames(), lost.frames) << &lost - cases;
  }
  runs.clear();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

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
  EXPECT_NE(refusalOfCar(with(&VideoCall::carId, k64.c_str())), "");
  for (const auto text : {&VideoCall::acc, &VideoCall::pwd, &VideoCall::timestamp}) {
    EXPECT_NE(refusalOfCar(with(text, k32.c_str())), "");
  }
  EXPECT_NE(refusalOfFleet(with(&VideoCall::host, "")), "");
  EXPECT_NE(refusalOfFleet(with(&VideoCall::mediaPort, 65536)), "");
  EXPECT_NE(refusalOfFleet(with(&VideoCall::channel, 100)), "");
  EXPECT_NE(refusalOfCar(with(&VideoCall::channel, -1)), "");
}

// The queue of a server that accepts nobody holds one connection.
TEST(Observer, AConnectUnderWayEndsWhenItIsCancelled) {
  for (const auto worker : {runFleetVideo, runRelayVideo}) {
    TestServer server("127.0.0.1", false);
    server.listen(0);
    const Socket filling(nullptr, ConnectToServer("127.0.0.1", server.port));
    const auto before = openDescriptors();
    ObservedRun run(worker, server.port);
    ASSERT_TRUE(eventually([&] { return server.isAskedToConnect(); }));
    const auto start = std::chrono::steady_clock::now();
    run.end();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(openDescriptors(), before);
  }
}

}  // namespace
}  // namespace quorvid::test
