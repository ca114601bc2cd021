#include "session/FleetServer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace quorvid::test {

static constexpr std::chrono::minutes kPatience{1};

std::string FleetClient::readRequest() {
  std::string request(81, '\0');
  const ssize_t count = ::recv(descriptor_, request.data(), request.size(), MSG_WAITALL);
  request.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return request;
}

bool FleetClient::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// +0 status, 0 when granted  +4 not interpreted
bool FleetClient::sendAnswer() {
  return send(std::string(18, '\0'));
}

// +0 'V'  +1 length, little-endian  +5 not interpreted  +19 the frame
bool FleetClient::sendVideo(std::string_view frame) {
  std::string packet(19, '\0');
  packet[0] = 'V';
  for (unsigned i = 0; i < 4; ++i) {
    packet[1 + i] = static_cast<char>(frame.size() >> (8 * i) & 0xFF);
  }
  packet += frame;
  return send(packet);
}

void FleetClient::waitForClose() {
  std::array<char, 64> ignored;
  errno = 0;
  while (::recv(descriptor_, ignored.data(), ignored.size(), 0) > 0) {
  }
  EXPECT_NE(errno, EAGAIN) << "the client did not close within a minute";
}

FleetServer::FleetServer(Script script) : script_(std::move(script)) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  if (::bind(listener_, any, size) != 0 || ::listen(listener_, 64) != 0 ||
      ::getsockname(listener_, any, &size) != 0) {
    throw std::runtime_error("no port on the loopback interface");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { acceptAll(); });
}

FleetServer::~FleetServer() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    for (const int descriptor : descriptors_) {
      ::shutdown(descriptor, SHUT_RDWR);
    }
  }
  ::shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  ::close(listener_);
  std::unique_lock lock(mutex_);
  const bool ended = scriptEnded_.wait_for(lock, kPatience, [this] { return open_ == 0; });
  if (ended) return;
  std::fputs("FleetServer: a script has not ended within a minute\n", stderr);
  std::abort();  // it uses what goes away now
}

void FleetServer::acceptAll() {
  for (;;) {
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) return;
    const std::lock_guard lock(mutex_);
    if (ending_) {
      ::close(descriptor);
      return;
    }
    const timeval minute{std::chrono::seconds(kPatience).count(), 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &minute, sizeof minute);
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &minute, sizeof minute);
    ++clients_;
    ++open_;
    descriptors_.push_back(descriptor);
    std::thread([this, descriptor] { serve(descriptor); }).detach();
  }
}

void FleetServer::serve(int descriptor) {
  FleetClient client(descriptor);
  script_(client);
  const std::lock_guard lock(mutex_);
  std::erase(descriptors_, descriptor);
  ::close(descriptor);
  --open_;
  scriptEnded_.notify_all();
}

}  // namespace quorvid::test
