#include "connection/Pause.h"

#include <cerrno>
#include <ctime>

namespace quorvid {

// Until a point in time: what is left of a pause would grow a little with each signal.
void pauseFor(std::chrono::milliseconds time) {
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  const std::chrono::nanoseconds until = std::chrono::nanoseconds(end.tv_nsec) + time;
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(until);
  end.tv_sec += static_cast<time_t>(whole.count());
  end.tv_nsec = static_cast<long>((until - whole).count());
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace quorvid
