#include "connection/BlockingIO.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>

#include "quorvid/connection/VehicleConnection.h"

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

ssize_t writeShielded(std::int32_t fd, const void* data, std::size_t size) {
  SigpipeShield shield;
  const ssize_t written = ::write(fd, data, size);
  const int error = errno;
  if (written < 0 && error == EPIPE) shield.consume();
  errno = error;
  return written;
}

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

// Zero for a descriptor without one: a pipe, a file, a socket that waits for ever or not at all.
microseconds receiveTimeout(std::int32_t fd) {
  constexpr time_t kElevenDays = 1000000;  // in milliseconds, an int holds it
  timeval time{};
  socklen_t size = sizeof time;
  if ((::fcntl(fd, F_GETFL) & O_NONBLOCK) != 0) return {};
  if (::getsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, &size) != 0) return {};
  return std::chrono::seconds(std::min(time.tv_sec, kElevenDays)) + microseconds(time.tv_usec);
}

// Waits for what is left of the receive time-out after a signal, because a read starts it anew each
// time. False, with errno set, once it is used up.
bool mayReadOn(std::int32_t fd, Clock::time_point lastByte) {
  const microseconds timeout = receiveTimeout(fd);
  if (timeout == microseconds::zero()) return true;
  pollfd readable{fd, POLLIN, 0};
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(lastByte + timeout - Clock::now());
    const int wait = static_cast<int>(std::max(left.count(), milliseconds::rep{0}));
    const int count = ::poll(&readable, 1, wait);
    if (count > 0) return true;
    if (count < 0 && errno != EINTR) return false;
    if (count == 0 || wait == 0) {
      errno = EAGAIN;
      return false;
    }
  }
}

}  // namespace

// Until a point in time: what is left of a pause would grow a little with each signal.
void pauseFor(milliseconds time) {
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  const std::chrono::nanoseconds until = std::chrono::nanoseconds(end.tv_nsec) + time;
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(until);
  end.tv_sec += static_cast<time_t>(whole.count());
  end.tv_nsec = static_cast<long>((until - whole).count());
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

// send() knows how to keep quiet, but only on sockets.
ssize_t writeOnce(std::int32_t fd, const void* data, std::size_t size) {
  const ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL);
  return sent < 0 && errno == ENOTSOCK ? writeShielded(fd, data, size) : sent;
}

}  // namespace quorvid

std::int32_t readn(std::int32_t fd, void* buf, std::int32_t n) {
  std::int32_t remaining = n;
  auto* position = static_cast<std::uint8_t*>(buf);
  auto lastByte = quorvid::Clock::now();
  while (remaining > 0) {
    const ssize_t count = ::read(fd, position, static_cast<std::size_t>(remaining));
    if (count == 0) break;
    if (count < 0) {
      if (errno != EINTR || !quorvid::mayReadOn(fd, lastByte)) return -1;
      continue;
    }
    remaining -= static_cast<std::int32_t>(count);
    position += count;
    if (remaining > 0) lastByte = quorvid::Clock::now();
  }
  return n - remaining;
}

std::int32_t writen(std::int32_t fd, const void* buf, std::int32_t n) {
  std::int32_t remaining = n;
  const auto* position = static_cast<const std::uint8_t*>(buf);
  while (remaining > 0) {
    const ssize_t count = quorvid::writeOnce(fd, position, static_cast<std::size_t>(remaining));
    if (count <= 0) {
      if (errno != EINTR) return -1;
      continue;
    }
    remaining -= static_cast<std::int32_t>(count);
    position += count;
  }
  return n;
}
