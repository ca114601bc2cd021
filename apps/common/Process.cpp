#include "apps/common/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "apps/common/Failure.h"
#include "base/SignalsKeptAway.h"

namespace quorvid::app {

namespace {

#ifdef QUORVID_SLOW_BUILD
constexpr int kLongestEnd = 18000;  // ms; a sanitizer's own work at the end counts, too
#else
constexpr int kLongestEnd = 1800;
#endif
constexpr unsigned kLongestEndByAlarm = 2;  // s

constexpr std::int64_t kOneWish = 300;  // ms

std::atomic<int> stopSeen = 0;  // the first signal's number
std::int64_t stopSeenAt = 0;    // its time; only handlers use it, one at a time
static_assert(std::atomic<int>::is_always_lock_free);
std::atomic<bool> hasWatcher = true;
std::atomic<bool> threadLeftBehind = false;

// Milliseconds. In handlers, too.
std::int64_t milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

// The second signal strikes when the handler has returned.
void noteStop(int number) {
  int none = 0;
  if (!stopSeen.compare_exchange_strong(none, number)) {
    if (none == number && milliseconds() - stopSeenAt < kOneWish) return;
    std::signal(number, SIG_DFL);
    raise(number);
  } else {
    stopSeenAt = milliseconds();
    if (!hasWatcher) alarm(kLongestEndByAlarm);
  }
}

sigset_t stopSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  return set;
}

// Not through stdio, whose lock the main thread may hold, nor into a pipe that is full.
void tell(std::string_view line) {
  pollfd error{STDERR_FILENO, POLLOUT, 0};
  if (poll(&error, 1, 0) == 1 && (error.revents & POLLOUT) != 0) {
    [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, line.data(), line.size());
  }
}

// The thread that takes the signals: by handlers rather than sigwait(), for debuggers see those.
void watch() {
  sigset_t taken;
  pthread_sigmask(SIG_SETMASK, nullptr, &taken);
  sigdelset(&taken, SIGINT);
  sigdelset(&taken, SIGTERM);
  while (!stopRequested()) {
    sigsuspend(&taken);
  }
  pthread_sigmask(SIG_SETMASK, &taken, nullptr);
  const std::int64_t end = milliseconds() + kLongestEnd;
  for (std::int64_t now = milliseconds(); now < end; now = milliseconds()) {
    poll(nullptr, 0, static_cast<int>(end - now));
  }
  tell("quorvid: could not end in order soon after the signal\n");
  _exit(128 + stopSeen);
}

}  // namespace

void openStandardDescriptors() {
  int fd = 0;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd >= 0 && fd <= STDERR_FILENO);
  if (fd >= 0) close(fd);
}

void catchStopSignals() {
  const sigset_t stops = stopSignals();
  struct sigaction action {};
  action.sa_handler = noteStop;
  action.sa_flags = SA_RESTART;
  action.sa_mask = stops;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  action.sa_flags = 0;
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);

  pthread_sigmask(SIG_BLOCK, &stops, nullptr);
  try {
    startWorkerThread(watch);
  } catch (const Failure&) {
    hasWatcher = false;
    pthread_sigmask(SIG_UNBLOCK, &stops, nullptr);
  }
}

bool stopRequested() {
  return stopSeen != 0;
}

void startWorkerThread(std::function<void()> body) {
  const SignalsKeptAway quiet;
  try {
    std::thread(std::move(body)).detach();
  } catch (const std::system_error& error) {
    throw Failure(std::string("can't start a thread: ") + error.what());
  }
}

void leaveThreadBehind() {
  threadLeftBehind = true;
}

void endByClosedPipe() {
  std::signal(SIGPIPE, SIG_DFL);
  raise(SIGPIPE);
  _exit(128 + SIGPIPE);  // it was blocked by whoever started the program
}

int endProcess(int status) {
  if (!threadLeftBehind) return status;
  std::fflush(nullptr);
  _exit(status);
}

}  // namespace quorvid::app
