// Feeds any bytes to the workers and queries of the network room, as a server's reply or stream.
//
// Input: which call (1 byte), then all that the server sends before it closes. Connecting and
// pausing are stand-ins: a connection is a socket pair that already holds the bytes, and there is
// one only; the pause that follows the end of the stream stops the call. The device records of a
// reply go on to what the tools print of them.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "apps/quorvid/query/DeviceTable.h"
#include "quorvid/connection/VehicleConnection.h"

namespace {

constexpr std::size_t kMostDevices = 200;
constexpr std::size_t kMostBytes = 65536;  // a socket takes them without a reader

struct Server {
  std::string bytes;
  bool mayConnect = false;
  int end = -1;
};
Server server;

struct Client {
  std::uint8_t stop = 0;
  std::uint8_t run = 1;
  std::uint8_t frameIsThere = 0;
  std::vector<std::uint8_t> frame = std::vector<std::uint8_t>(QUORVID_FRAME_CAPACITY);
  std::int32_t frameLen = 0;
};
Client client;

void require(bool holds) {
  if (!holds) __builtin_trap();
}

void takeFrame() {
  if (std::exchange(client.frameIsThere, 0) == 0) return;
  require(client.frameLen > 0 && client.frameLen <= QUORVID_FRAME_CAPACITY);
}

void printDevices(const std::vector<DevInfoItem>& devices) {
  quorvid::app::deviceJson(devices, true).dump();
  const std::string table = quorvid::app::deviceTable(devices, true);
  const auto steers = [](char c) { return c != '\n' && static_cast<unsigned char>(c) < 0x20; };
  require(std::none_of(table.begin(), table.end(), steers));
}

void query(bool again) {
  std::vector<DevInfoItem> items(kMostDevices);
  std::int32_t count = 0, done = 0;
  if (again) {
    ThreadGetCarGPS(items.data(), &count, "127.0.0.1", 1, 0, "", "", "", &done, &client.run);
    count = carCount;
  } else {
    const std::int32_t result =
        ThreadGetListForCar(items.data(), &count, "127.0.0.1", 1, 0, "", "", "", &done);
    require((result == 0) == (done == 1));
  }
  require(count >= 0 && count <= static_cast<std::int32_t>(kMostDevices));
  items.resize(static_cast<std::size_t>(count));
  printDevices(items);
}

void stream(decltype(ThreadVideoSourceForFleet)& call) {
  call("127.0.0.1", 1, 0, 0, "", "", &client.stop, "", "", &client.frameIsThere,
       client.frame.data(), &client.frameLen);
  takeFrame();
}

}  // namespace

// The linker puts these in the place of the system's functions.
extern "C" {

int __wrap_connect(int descriptor, const sockaddr* /*peer*/, socklen_t /*size*/) {
  errno = ECONNREFUSED;
  if (!std::exchange(server.mayConnect, false)) return -1;
  int ends[2];
  require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
  const ssize_t size = static_cast<ssize_t>(server.bytes.size());
  require(::write(ends[1], server.bytes.data(), server.bytes.size()) == size);
  ::shutdown(ends[1], SHUT_WR);
  server.end = ends[1];
  ::dup2(ends[0], descriptor);
  ::close(ends[0]);
  return 0;
}

// A millisecond is a worker that waits for its consumer.
int __wrap_clock_nanosleep(clockid_t clock, int /*flags*/, const timespec* end,
                           timespec* /*left*/) {
  takeFrame();
  timespec now{};
  ::clock_gettime(clock, &now);
  const auto left = (end->tv_sec - now.tv_sec) * 1'000'000'000L + end->tv_nsec - now.tv_nsec;
  if (left > 2'000'000) {
    client.stop = 1;
    client.run = 0;
  }
  return 0;
}

}  // extern "C"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // Workers write a line for each frame.
  return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > kMostBytes) return 0;
  server.bytes.assign(data + 1, data + size);
  server.mayConnect = true;
  client.stop = client.frameIsThere = 0;
  client.run = 1;
  switch (data[0] % 5) {
    case 0:
      stream(ThreadVideoSourceForFleet);
      break;
    case 1:
      stream(ThreadVideoSourceForCar);
      break;
    case 2:
      stream(ThreadGetRelayForCar);
      break;
    default:
      query(data[0] % 5 == 3);
  }
  ::close(std::exchange(server.end, -1));
  return 0;
}
