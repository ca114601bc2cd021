#include "base/Clock.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

namespace quorvid {

double timeIntervalSince1970() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

double steadySeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void sleepForTimeInterval(double seconds) {
  constexpr double kLongest = 1e9;  // 31 years: far inside what the clock can count
  if (!(seconds > 0)) {             // also not a number
    return;
  }
  // The standard sleep goes on after a signal handler returned.
  std::this_thread::sleep_for(std::chrono::duration<double>(std::min(seconds, kLongest)));
}

}  // namespace quorvid
