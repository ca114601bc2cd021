#include "bench/limits/BareWorker.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "connection/ServerConnection.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::bench {
namespace {

bool readAll(int socket, void* to, std::size_t size) {
  auto* at = static_cast<std::uint8_t*>(to);
  while (size > 0) {
    const ssize_t count = ::read(socket, at, size);
    if (count <= 0) return false;
    at += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

// A read for each.
bool skip(int socket, std::initializer_list<std::size_t> sizes) {
  std::array<std::uint8_t, 16> skipped;
  return std::all_of(sizes.begin(), sizes.end(), [socket, &skipped](std::size_t size) {
    return readAll(socket, skipped.data(), size);
  });
}

bool readFleetHeader(int socket, std::int32_t& length) {
  return skip(socket, {1}) && readAll(socket, &length, 4) && skip(socket, {4, 10});
}

// The tag byte by byte: that is how it is found.
bool readCarHeader(int socket, std::int32_t& length) {
  return skip(socket, {1, 1, 1, 1, 1, 1, 1, 1}) && skip(socket, {4, 4}) &&
         readAll(socket, &length, 4) && skip(socket, {16});
}

int connected(Dialect dialect, int port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(static_cast<std::uint16_t>(port));
  peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  static_cast<void>(::connect(socket, reinterpret_cast<const sockaddr*>(&peer), sizeof peer));
  applyRequestProfile(socket);
  const std::array<char, 500> request{};
  const std::size_t size = dialect == Dialect::Fleet ? 81 : request.size();
  static_cast<void>(::send(socket, request.data(), size, MSG_NOSIGNAL));
  return socket;
}

}  // namespace

void runBareWorker(Dialect dialect, int port, FrameSlot& slot) {
  const int socket = connected(dialect, port);
  std::vector<std::uint8_t> buffer(QUORVID_FRAME_CAPACITY);
  const bool isFleet = dialect == Dialect::Fleet;
  bool goesOn = !isFleet || skip(socket, {4, 4, 10});
  for (std::int32_t length = 0; goesOn;) {
    goesOn = isFleet ? readFleetHeader(socket, length) : readCarHeader(socket, length);
    if (goesOn && isFleet) std::printf("Wait to canGetFrame %d\n", 0);
    goesOn = goesOn && readAll(socket, buffer.data(), static_cast<std::size_t>(length));
    if (!goesOn) break;
    std::memcpy(slot.bytes, buffer.data(), static_cast<std::size_t>(length));
    std::atomic_ref(slot.length).store(length, std::memory_order_release);
    std::atomic_ref(slot.waits).store(1, std::memory_order_release);
  }
  ::close(socket);
}

}  // namespace quorvid::bench
