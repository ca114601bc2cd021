// What a host shares with the library and what it does not.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "quorvid/connection/VehicleConnection.h"
#include "session/FleetServer.h"
#include "support/Eventually.h"

namespace {
std::atomic<int> hostCalls{0};
}

// Functions that a host may well have itself, in place of the library's.
extern "C" {
std::int32_t readn(std::int32_t, void*, std::int32_t) {
  return ++hostCalls, -1;
}
std::int32_t writen(std::int32_t, const void*, std::int32_t) {
  return ++hostCalls, -1;
}
__attribute__((visibility("default"))) void InitRequestStringForFleet() {
  ++hostCalls;
}
__attribute__((visibility("default"))) int ConnectToServer() {
  return ++hostCalls, -1;
}
}

namespace quorvid::test {
namespace {

TEST(HostBinding, TheLibraryNeverCallsTheHostsFunctions) {
  std::uint8_t isCancel = 0;
  std::uint8_t canGetFrame = 0;
  FleetServer server([&](FleetClient& client) {
    client.readRequest();
    client.sendAnswer();
    client.sendVideo("frame");
    eventually(
        [&] { return std::atomic_ref<std::uint8_t>(canGetFrame).load() != 0 || hostCalls != 0; });
    std::atomic_ref<std::uint8_t>(isCancel).store(1);
    client.send("A");  // wakes the worker from its read; closing ends the packet
  });
  std::vector<std::uint8_t> frame(QUORVID_FRAME_CAPACITY);
  std::int32_t length = 0;
  EXPECT_EQ(
      ThreadVideoSourceForFleet("127.0.0.1", server.port(), 80, 0, nullptr, nullptr, &isCancel,
                                nullptr, "BUS-17", &canGetFrame, frame.data(), &length),
      0);
  EXPECT_GT(length, 0);
  EXPECT_EQ(hostCalls, 0);
}

}  // namespace
}  // namespace quorvid::test
