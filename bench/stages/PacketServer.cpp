#include "bench/stages/PacketServer.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>

namespace quorvid::bench {
namespace {

constexpr std::size_t kFleetHeader = 19, kCarHeader = 36;
constexpr std::size_t kFleetRequest = 81, kCarRequest = 500, kFleetAnswer = 18;

void put(std::vector<std::uint8_t>& bytes, std::size_t at, std::uint32_t value) {
  std::memcpy(bytes.data() + at, &value, sizeof value);
}

}  // namespace

std::vector<std::uint8_t> packetOf(Dialect dialect, std::size_t payload, std::uint32_t number) {
  const bool isFleet = dialect == Dialect::Fleet;
  const std::size_t header = isFleet ? kFleetHeader : kCarHeader;
  std::vector<std::uint8_t> bytes(header + payload);
  if (isFleet) {
    bytes[0] = 'V';
    put(bytes, 1, static_cast<std::uint32_t>(payload));
  } else {
    std::memcpy(bytes.data(), "3GTSV100", 8);
    put(bytes, 8, number);
    put(bytes, 16, static_cast<std::uint32_t>(payload));
  }
  put(bytes, header, number);
  return bytes;
}

PacketServer::PacketServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in place{};
  socklen_t size = sizeof place;
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&place), size) != 0 ||
      ::listen(listener_, SOMAXCONN) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&place), &size) != 0) {
    throw std::runtime_error("no port to listen on");
  }
  port_ = ntohs(place.sin_port);
}

PacketServer::~PacketServer() {
  ::close(listener_);
}

int PacketServer::accept(Dialect dialect) const {
  const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  const int on = 1;
  ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::array<char, kCarRequest> request{};
  const bool isFleet = dialect == Dialect::Fleet;
  static_cast<void>(
      ::recv(client, request.data(), isFleet ? kFleetRequest : kCarRequest, MSG_WAITALL));
  if (isFleet) send(client, std::vector<std::uint8_t>(kFleetAnswer));
  return client;
}

bool PacketServer::send(int client, const std::vector<std::uint8_t>& packet) {
  return ::send(client, packet.data(), packet.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(packet.size());
}

}  // namespace quorvid::bench
