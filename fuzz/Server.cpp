#include "fuzz/Server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

namespace quorvid::fuzz {

Server server;

void Server::serve(std::vector<Record> script) {
  script_ = std::move(script);
  next_ = 0;
}

void Server::finish() {
  if (end_ != -1) ::close(end_);
  end_ = descriptor_ = -1;
}

int Server::connect(int descriptor) {
  finish();
  errno = ECONNREFUSED;
  if (isOver()) return -1;
  if (script_[next_].kind % 16 == kRefused) return ++next_, -1;
  int ends[2];
  require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
  ::fcntl(ends[0], F_SETFL, ::fcntl(descriptor, F_GETFL));
  ::dup2(ends[0], descriptor);
  ::close(ends[0]);
  end_ = ends[1];
  descriptor_ = descriptor;
  left_ = after_ = 0;
  return 0;
}

void Server::loadNext() {
  if (after_ == kClosed || isOver()) {
    after_ = kClosed;
    ::shutdown(end_, SHUT_WR);
    return;
  }
  const Record& record = script_[next_++];
  after_ = record.kind % 16;
  left_ = ::send(end_, record.bytes.data(), record.bytes.size(), MSG_NOSIGNAL);
  left_ = std::max<ssize_t>(left_, 0);  // the caller's end may be shut down
}

ssize_t Server::readable() {
  while (left_ == 0) {
    const std::uint8_t what = after_ == kClosed ? after_ : std::exchange(after_, 0);
    if (what == kReset || what == kSilent) {
      errno = what == kReset ? ECONNRESET : EAGAIN;
      return -1;
    }
    if (what == kStop) stop();
    loadNext();
    if (what == kInterrupted) {  // with bytes there, for whoever looks whether there are any
      errno = EINTR;
      return -1;
    }
    if (what == kClosed) return 0;
  }
  return left_;
}

void mendWire(Bytes& bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const auto put = [&bytes](std::size_t at, std::size_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
  };
  if (text.starts_with("3GTSV100")) {
    if (bytes.size() >= 36) put(16, bytes.size() - 36);
  } else if (text.starts_with('V') || text.starts_with('A')) {
    if (bytes.size() >= 19) put(1, bytes.size() - 19);
  } else if (bytes.size() >= 280) {
    put(0, bytes.size());
  }
}

namespace {

template <class Read>
ssize_t readThrough(int descriptor, std::size_t size, Read read) {
  if (!server.isAt(descriptor)) return read(size);
  const ssize_t most = server.readable();
  if (most <= 0) return most;
  const ssize_t count = read(std::min(size, static_cast<std::size_t>(most)));
  server.wasRead(std::max<ssize_t>(count, 0));
  return count;
}

}  // namespace
}  // namespace quorvid::fuzz

// The linker puts these in the place of the system's functions.
extern "C" {

ssize_t __real_read(int descriptor, void* out, std::size_t size);
ssize_t __real_recv(int descriptor, void* out, std::size_t size, int flags);

int __wrap_connect(int descriptor, const sockaddr* /*peer*/, socklen_t /*size*/) {
  return quorvid::fuzz::server.connect(descriptor);
}

ssize_t __wrap_read(int descriptor, void* out, std::size_t size) {
  return quorvid::fuzz::readThrough(
      descriptor, size, [=](std::size_t most) { return __real_read(descriptor, out, most); });
}

ssize_t __wrap_recv(int descriptor, void* out, std::size_t size, int flags) {
  return quorvid::fuzz::readThrough(descriptor, size, [=](std::size_t most) {
    return __real_recv(descriptor, out, most, flags);
  });
}

int __wrap_clock_nanosleep(clockid_t clock, int /*flags*/, const timespec* end,
                           timespec* /*left*/) {
  timespec now{};
  ::clock_gettime(clock, &now);
  quorvid::fuzz::server.paused(static_cast<double>(end->tv_sec - now.tv_sec) +
                               static_cast<double>(end->tv_nsec - now.tv_nsec) / 1e9);
  return 0;
}

}  // extern "C"
