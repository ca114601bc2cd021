// Sessions with a worker that does what the test says and a clock that shows what it says.
#include "quorvid/session/VehicleVideo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "quorvid/connection/VehicleConnection.h"
#include "support/Eventually.h"

namespace {

struct WorkerCall {
  std::string host, timestamp;
  int mediaPort = 0, cmdPort = 0, channel = 0;
  bool hasAcc = false, hasPwd = false, hasCarId = false;
  std::uint8_t* isCancel = nullptr;
  std::uint8_t* canGetFrame = nullptr;
  std::uint8_t* frameData = nullptr;
  std::int32_t* frameLen = nullptr;
};

std::atomic<double> now{1763246757.9};
std::function<void(const WorkerCall&)> worker;

bool isSet(std::uint8_t* flag) {
  return std::atomic_ref<std::uint8_t>(*flag).load() != 0;
}

}  // namespace

namespace quorvid {
double timeIntervalSince1970() {
  return now;
}
void sleepForTimeInterval(double seconds) {
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}
}  // namespace quorvid

extern "C" std::int32_t ThreadVideoSourceForFleet(const char* host, std::int32_t mediaPort,
                                                  std::int32_t cmdPort, std::int32_t channel,
                                                  const char* acc, const char* pwd,
                                                  std::uint8_t* isCancel, const char* timestamp,
                                                  const char* carId, std::uint8_t* canGetFrame,
                                                  std::uint8_t* frameData, std::int32_t* frameLen) {
  worker({host, timestamp, mediaPort, cmdPort, channel, acc != nullptr, pwd != nullptr,
          carId != nullptr, isCancel, canGetFrame, frameData, frameLen});
  return 0;
}
extern "C" void CancelVideoSource(std::uint8_t* isCancel) {
  std::atomic_ref<std::uint8_t>(*isCancel).store(1);
}

namespace quorvid {
namespace {

std::shared_ptr<VehicleVideo> make(const Text& host, int channel, int deviceType,
                                   const Text& acc = "fleetop") {
  return VehicleVideo::initWithVideo(host, 6608, 80, channel, acc, nullptr, deviceType, "BUS-17",
                                     true);
}

// Lets the session go and waits until its thread has, too.
void finish(std::shared_ptr<VehicleVideo>& session) {
  const std::weak_ptr<VehicleVideo> watch = session;
  session.reset();
  eventually([&] { return watch.expired(); });
}

TEST(VehicleVideo, RefusesBadChannelsAndHosts) {
  worker = [](const WorkerCall&) { FAIL() << "no session may start a worker here"; };
  EXPECT_EQ(make("h", -1, 2), nullptr);
  EXPECT_EQ(make("h", 8, 2), nullptr);
  EXPECT_EQ(make("", 0, 2), nullptr);
  EXPECT_EQ(make(nullptr, 0, 2), nullptr);
  EXPECT_EQ(make("h", -1, 1), nullptr);
  auto other = make("h", 8, 1);  // another kind of device: accepted, but it streams nothing
  ASSERT_NE(other, nullptr);
  EXPECT_FALSE(other->getIsFrameReady());
  finish(other);
}

TEST(VehicleVideo, GivesTheWorkerItsArgumentsAndTheSlot) {
  std::string token;
  worker = [&](const WorkerCall& call) { token = call.hasAcc ? "acc" : call.timestamp; };
  auto session = make("h", 0, 2, nullptr);
  finish(session);
  EXPECT_EQ(token, "(null)-63246757");

  std::atomic<bool> called{false};
  WorkerCall seen;
  worker = [&](const WorkerCall& call) {
    seen = call;
    called = true;
    eventually([&] { return isSet(call.isCancel); });
  };
  const Text host("10.0.0.1");
  session = make(host, 7, 2);
  ASSERT_NE(session, nullptr);
  eventually([&] { return called.load(); });
  EXPECT_EQ(seen.host, "10.0.0.1");
  EXPECT_EQ(seen.mediaPort, 6608);
  EXPECT_EQ(seen.cmdPort, 80);
  EXPECT_EQ(seen.channel, 7);
  EXPECT_EQ(seen.timestamp, "fleetop-63246757");  // 1763246757.9, cut not rounded
  EXPECT_TRUE(seen.hasAcc);
  EXPECT_FALSE(seen.hasPwd);
  EXPECT_TRUE(seen.hasCarId);
  EXPECT_EQ(reinterpret_cast<char*>(seen.frameData), session->getFrameData());
  EXPECT_EQ(seen.frameData[0x1FFFF], 0);
  *seen.frameLen = 77;
  EXPECT_EQ(session->getFrameLen(), 77U);
  EXPECT_TRUE(session->getDeviceHost().isSameObject(host));
  EXPECT_TRUE(session->getDevicePwd().isMissing());
  EXPECT_EQ(session->getDeviceMedia_Port(), 6608);
  EXPECT_EQ(session->getDeviceCmd_port(), 80);
  session->cancelVideoThread();
  finish(session);
}

TEST(VehicleVideo, ATimeOfLessThanEightDigitsIsLoggedAndEndsTheThread) {
  worker = [](const WorkerCall&) { FAIL() << "no token, no stream"; };
  std::string logged;
  setLogSink([&](std::string_view message) { logged = message; });
  now = 1234567;
  auto session = make("h", 0, 2);
  finish(session);
  now = 1763246757;
  setLogSink(nullptr);
  EXPECT_NE(logged.find("beyond the text's length 7"), std::string::npos) << logged;
}

TEST(VehicleVideo, CancelSetsTheFlagsAndTheRunningWorkerKeepsTheSession) {
  std::atomic<bool> go{false};
  std::atomic<bool> filled{false};
  std::atomic<bool> cancelled{false};
  std::uint8_t* slotFlag = nullptr;
  worker = [&](const WorkerCall& call) {
    slotFlag = call.canGetFrame;
    std::atomic_ref<std::uint8_t>(*slotFlag).store(1);
    filled = true;
    eventually([&] { return go.load(); });
    cancelled = isSet(call.isCancel);
    call.frameData[0x1FFFF] = 1;  // still the session's memory
  };
  auto session = make("h", 0, 2);
  eventually([&] { return filled.load(); });
  EXPECT_TRUE(session->getIsFrameReady());
  session->setIsFrameReady(2);  // only the lowest bit counts
  EXPECT_FALSE(session->getIsFrameReady());
  session->setIsFrameReady(0xFF);
  EXPECT_EQ(std::atomic_ref<std::uint8_t>(*slotFlag).load(), 1);
  EXPECT_TRUE(session->getIsFrameReady());
  session->cancelVideoThread();
  EXPECT_FALSE(session->getIsFrameReady());
  session->setIsFrameReady(true);
  session->cancelVideoThread();  // finds no thread: changes nothing
  EXPECT_TRUE(session->getIsFrameReady());
  const std::weak_ptr<VehicleVideo> watch = session;
  session.reset();
  EXPECT_FALSE(watch.expired());
  go = true;
  eventually([&] { return watch.expired(); });
  EXPECT_TRUE(cancelled);
}

TEST(VehicleVideo, AStopRightAfterTheStartIsNotLostAndOneAfterTheEndChangesNothing) {
  std::atomic<int> cancelledEarly{0};
  worker = [&](const WorkerCall& call) {
    eventually([&] { return isSet(call.isCancel); });
    ++cancelledEarly;
  };
  for (int i = 0; i < 50; ++i) {
    auto session = make("h", 0, 2);
    session->cancelVideoThread();
    finish(session);
  }
  EXPECT_EQ(cancelledEarly, 50);

  std::uint8_t* isCancel = nullptr;
  std::atomic<bool> done{false};
  worker = [&](const WorkerCall& call) {
    isCancel = call.isCancel;
    std::atomic_ref<std::uint8_t>(*call.canGetFrame).store(1);
    done = true;
  };
  auto session = make("h", 0, 2);
  eventually([&] { return done.load() && session.use_count() == 1; });
  sleepForTimeInterval(0.05);  // from the body's last step to the thread's end
  session->cancelVideoThread();
  EXPECT_FALSE(isSet(isCancel));
  EXPECT_TRUE(session->getIsFrameReady());
}

}  // namespace
}  // namespace quorvid
