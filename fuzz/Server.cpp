#include "fuzz/Server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
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
  isDeaf_ = script_[next_].kind % 16 == kUnsent;
  if (isDeaf_) ++next_;
  int ends[2];
  require(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
  ::fcntl(ends[0], F_SETFL, ::fcntl(descriptor, F_GETFL));
  ::dup2(ends[0], descriptor);
  ::close(ends[0]);
  end_ = ends[1];
  require(::write(end_, "", 1) == 1);  // whoever looks whether there are bytes always finds some
  descriptor_ = descriptor;
  left_ = after_ = 0;
  return 0;
}

int Server::findBytes() {
  while (left_ == 0) {
    const std::uint8_t what = after_ == kClosed ? after_ : std::exchange(after_, 0);
    if (what == kStop) stop();
    if (what == kClosed) return 0;
    if (what == kReset || what == kSilent || what == kInterrupted) {
      errno = what == kReset ? ECONNRESET : what == kSilent ? EAGAIN : EINTR;
      return -1;
    }
    after_ = isOver() ? kClosed : static_cast<std::uint8_t>(script_[next_].kind % 16);
    left_ = isOver() ? 0 : script_[next_++].bytes.size();
    at_ = 0;
  }
  return 1;
}

ssize_t Server::read(void* out, std::size_t size) {
  const int found = findBytes();
  if (found <= 0) return found;
  const std::size_t count = std::min(size, left_);
  std::memcpy(out, &script_[next_ - 1].bytes[at_], count);
  at_ += count;
  left_ -= count;
  return static_cast<ssize_t>(count);
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

}  // namespace quorvid::fuzz

// The linker puts these in the place of the system's functions, and gives them their names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

ssize_t __real_read(int descriptor, void* out, std::size_t size);
ssize_t __real_send(int descriptor, const void* data, std::size_t size, int flags);
ssize_t __real_recv(int descriptor, void* out, std::size_t size, int flags);

int __wrap_connect(int descriptor, const sockaddr* /*peer*/, socklen_t /*size*/) {
  return quorvid::fuzz::server.connect(descriptor);
}

ssize_t __wrap_read(int descriptor, void* out, std::size_t size) {
  auto& server = quorvid::fuzz::server;
  return server.isAt(descriptor) ? server.read(out, size) : __real_read(descriptor, out, size);
}

ssize_t __wrap_send(int descriptor, const void* data, std::size_t size, int flags) {
  const auto& server = quorvid::fuzz::server;
  if (!server.isAt(descriptor) || !server.mayNotSend()) {
    return __real_send(descriptor, data, size, flags);
  }
  errno = ECONNRESET;
  return -1;
}

ssize_t __wrap_recv(int descriptor, void* out, std::size_t size, int flags) {
  auto& server = quorvid::fuzz::server;
  return server.isAt(descriptor) ? server.read(out, size)
                                 : __real_recv(descriptor, out, size, flags);
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
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
