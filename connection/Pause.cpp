#include "connection/Pause.h"

#include <cerrno>
#include <ctime>

namespace quorvid {

void pauseFor(std::chrono::milliseconds time) {
  const auto whole = std::chrono::duration_cast<std::chrono::seconds>(time);
  const std::chrono::nanoseconds rest = time - whole;
  timespec left{};
  left.tv_sec = static_cast<time_t>(whole.count());
  left.tv_nsec = static_cast<long>(rest.count());
  while (nanosleep(&left, &left) == -1 && errno == EINTR) {
  }
}

}  // namespace quorvid
