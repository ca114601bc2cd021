#include "bench/limits/BareStream.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace quorvid::bench {
namespace {

// docs/protocol.md draws both.
constexpr std::size_t kRequestSize = 81, kDeviceAt = 3, kDeviceRoom = 31, kChannelAt = 35;
constexpr std::size_t kAnswerSize = 18, kHeaderSize = 19, kMostPayload = 131072;

std::array<char, kRequestSize> requestFor(const std::string& device, int channel) {
  std::array<char, kRequestSize> request{'0', '0', '1'};
  if (device.size() > kDeviceRoom || channel < 0 || channel > 99) {
    throw std::runtime_error("a device has 31 characters at most, a channel two digits");
  }
  std::copy(device.begin(), device.end(), request.begin() + kDeviceAt);
  request[kChannelAt] = static_cast<char>('0' + channel / 10);
  request[kChannelAt + 1] = static_cast<char>('0' + channel % 10);
  request[kChannelAt + 2] = 'L';
  return request;
}

}  // namespace

BareStream::BareStream(int port, const std::string& device, int channel)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), unit_(kMostPayload + 64) {
  const auto request = requestFor(device, channel);
  const int on = 1;
  ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(static_cast<std::uint16_t>(port));
  peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0 ||
      ::send(socket_, request.data(), request.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(request.size())) {
    ::close(socket_);
    throw std::runtime_error("no connection");
  }
}

BareStream::~BareStream() {
  ::close(socket_);
}

bool BareStream::hasMore() const {
  int waiting = 0;
  return ::ioctl(socket_, FIONREAD, &waiting) == 0 && waiting > 0;
}

void BareStream::shutDown() {
  ::shutdown(socket_, SHUT_RDWR);
}

bool BareStream::read(void* to, std::size_t size) {
  return ::recv(socket_, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool BareStream::next(std::size_t padding) {
  if (size_ == 0) {
    std::array<std::uint8_t, kAnswerSize> answer{};
    if (!read(answer.data(), answer.size()) || answer[0] != 0) return false;
  }
  for (std::array<std::uint8_t, kHeaderSize> header{}; read(header.data(), header.size());) {
    std::uint32_t length = 0;
    std::memcpy(&length, &header[1], sizeof length);
    if (length > kMostPayload || !read(unit_.data(), length)) return false;
    if (header[0] != 'V') continue;
    unit_.resize(std::max(unit_.size(), length + padding));
    std::memset(unit_.data() + length, 0, padding);
    size_ = length;
    return true;
  }
  return false;
}

}  // namespace quorvid::bench
