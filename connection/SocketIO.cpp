#include "connection/SocketIO.h"

#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include "connection/VehicleConnection.h"

namespace quorvid {
namespace {

// Keeps SIGPIPE from this thread for its lifetime and takes back the one that our write caused. A
// SIGPIPE that was pending before is somebody else's and stays.
class SigpipeShield {
 public:
  SigpipeShield() {
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_);
  }
  ~SigpipeShield() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SigpipeShield(const SigpipeShield&) = delete;
  SigpipeShield& operator=(const SigpipeShield&) = delete;

  void consume() {
    const timespec now{};
    while (!wasPending_ && sigtimedwait(&sigpipe_, nullptr, &now) == -1 && errno == EINTR) {
    }
  }

 private:
  sigset_t sigpipe_;
  sigset_t before_;
  bool wasPending_;
};

ssize_t writeShielded(int32_t fd, const void* data, size_t size) {
  SigpipeShield shield;
  const ssize_t written = ::write(fd, data, size);
  const int error = errno;
  if (written < 0 && error == EPIPE) shield.consume();
  errno = error;
  return written;
}

}  // namespace

ssize_t writeOnce(int32_t fd, const void* data, size_t size) {
  const ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL);
  return sent < 0 && errno == ENOTSOCK ? writeShielded(fd, data, size) : sent;
}

}  // namespace quorvid

int32_t readn(int32_t fd, void* buf, int32_t n) {
  int32_t remaining = n;
  auto* position = static_cast<uint8_t*>(buf);
  while (remaining > 0) {
    const ssize_t count = ::read(fd, position, static_cast<size_t>(remaining));
    if (count == 0) break;
    if (count < 0) {
      if (errno != EINTR) return -1;
      continue;
    }
    remaining -= static_cast<int32_t>(count);
    position += count;
  }
  return n - remaining;
}

int32_t writen(int32_t fd, const void* buf, int32_t n) {
  int32_t remaining = n;
  const auto* position = static_cast<const uint8_t*>(buf);
  while (remaining > 0) {
    const ssize_t count = quorvid::writeOnce(fd, position, static_cast<size_t>(remaining));
    if (count <= 0) {
      if (errno != EINTR) return -1;
      continue;
    }
    remaining -= static_cast<int32_t>(count);
    position += count;
  }
  return n;
}
