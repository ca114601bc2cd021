#include "apps/quorvid/probe/ProbeSocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"

namespace quorvid::app {

namespace {

constexpr std::size_t kBufferSize = 65536;
constexpr std::size_t kMostGarbage = 1 << 20;
constexpr int kLookMilliseconds = 100;  // how soon a signal is noticed

[[noreturn]] void failWith(const std::string& what, int error) {
  throw ProbeFailure(what + ": " + std::strerror(error));
}

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g s", value);
  return text;
}

}  // namespace

ProbeSocket::ProbeSocket(const std::string& address, int port, double timeout)
    : timeout_(timeout), buffer_(kBufferSize) {
  const std::string place = address + ":" + std::to_string(port);
  beginStep();
  fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd_ < 0) failWith("no socket", errno);
  try {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &to.sin_addr);
    int error = connect(fd_, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
      waitFor(POLLOUT, "no connection to " + place);
      socklen_t size = sizeof error;
      getsockopt(fd_, SOL_SOCKET, SO_ERROR, &error, &size);
    }
    if (error == ECONNREFUSED) {
      throw ProbeFailure("nothing listens at " + place + " (connection refused)");
    }
    if (error != 0) failWith("no connection to " + place, error);
  } catch (...) {
    close(fd_);
    throw;
  }
}

ProbeSocket::~ProbeSocket() {
  close(fd_);
}

void ProbeSocket::beginStep() {
  deadline_ = steadySeconds() + timeout_;
  stepHasBytes_ = false;
}

void ProbeSocket::waitFor(short events, const std::string& what) const {
  for (;;) {
    pollfd waited{fd_, events, 0};
    if (poll(&waited, 1, kLookMilliseconds) == 1) return;
    if (stopRequested()) throw ProbeInterrupted();
    if (steadySeconds() >= deadline_) throw ProbeFailure(what + " within " + seconds(timeout_));
  }
}

void ProbeSocket::send(const std::vector<std::uint8_t>& record) {
  std::size_t sent = 0;
  while (sent < record.size()) {
    const ssize_t count = ::send(fd_, record.data() + sent, record.size() - sent, MSG_NOSIGNAL);
    if (count > 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      waitFor(POLLOUT, "the request could not be sent");
    } else if (errno != EINTR) {
      failWith("the request could not be sent", errno);
    }
  }
}

void ProbeSocket::refill(const std::string& what, std::size_t missing) {
  if (stepHasBytes_ && steadySeconds() >= deadline_) {
    throw ProbeFailure(what + " did not come whole within " + seconds(timeout_));
  }
  for (;;) {
    const ssize_t count = recv(fd_, buffer_.data(), buffer_.size(), 0);
    if (count > 0) {
      at_ = 0;
      filled_ = static_cast<std::size_t>(count);
      stepHasBytes_ = true;
      return;
    }
    if (count == 0) {
      std::string sentence = "the server closed the connection where ";
      sentence += missing > 1 ? std::to_string(missing) + " bytes of " : "";
      throw ProbeFailure(sentence.append(what).append(" should come"));
    }
    if (errno == EAGAIN) {
      waitFor(POLLIN,
              stepHasBytes_
                  ? what + " did not come whole"
                  : std::string("the server is silent: nothing of ").append(what) + " came");
    } else if (errno == ECONNRESET) {
      throw ProbeFailure("the server reset the connection where " + what + " should come");
    } else if (errno != EINTR) {
      failWith("reading " + what + " failed", errno);
    }
  }
}

void ProbeSocket::read(void* out, std::size_t size, const char* what) {
  auto* to = static_cast<std::uint8_t*>(out);
  while (size > 0) {
    if (at_ == filled_) refill(what, size);
    const std::size_t part = std::min(size, filled_ - at_);
    std::memcpy(to, buffer_.data() + at_, part);
    at_ += part;
    to += part;
    size -= part;
  }
}

std::int32_t ProbeSocket::readInt32(const char* what) {
  std::uint8_t bytes[4];
  read(bytes, sizeof bytes, what);
  return static_cast<std::int32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16 |
                                   static_cast<std::uint32_t>(bytes[3]) << 24);
}

std::int32_t ProbeSocket::readInt32AtOnce(const char* what) {
  if (at_ == filled_) refill(what, 4);
  if (filled_ - at_ < 4) {
    throw ProbeFailure(std::string(what) + " came in pieces; the library takes it only whole");
  }
  return readInt32(what);
}

void ProbeSocket::skip(std::size_t size, const char* what) {
  std::uint8_t dropped[512];
  while (size > 0) {
    const std::size_t part = std::min(size, sizeof dropped);
    read(dropped, part, what);
    size -= part;
  }
}

std::size_t ProbeSocket::findTag(const std::vector<std::string>& tags, const char* what) {
  std::string window;
  for (std::size_t count = 0; count < kMostGarbage; ++count) {
    char byte = 0;
    read(&byte, 1, what);
    window.erase(0, window.size() < 8 ? 0 : 1);
    window += byte;
    if (std::find(tags.begin(), tags.end(), window) != tags.end()) return count + 1 - 8;
  }
  throw ProbeFailure("a mebibyte came without " + std::string(what));
}

}  // namespace quorvid::app
