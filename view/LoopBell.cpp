#include "view/LoopBell.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

namespace quorvid {

LoopBell::LoopBell() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

LoopBell::~LoopBell() {
  if (descriptor_ >= 0) close(descriptor_);
}

void LoopBell::ring() {
  if (descriptor_ >= 0 && isWaitedFor_) eventfd_write(descriptor_, 1);
}

bool LoopBell::waitUntil(std::chrono::steady_clock::time_point time) {
  using Nanoseconds = std::chrono::nanoseconds;
  constexpr Nanoseconds::rep kSecond = 1'000'000'000;
  isWaitedFor_ = true;
  pollfd rung{descriptor_, POLLIN, 0};  // one below 0 is passed over
  for (;;) {
    const auto left = std::max<Nanoseconds>(
        std::chrono::duration_cast<Nanoseconds>(time - std::chrono::steady_clock::now()),
        Nanoseconds::zero());
    const timespec most{left.count() / kSecond, left.count() % kSecond};
    if (ppoll(&rung, 1, &most, nullptr) > 0) {
      eventfd_t count = 0;
      return eventfd_read(descriptor_, &count) == 0;
    }
    if (std::chrono::steady_clock::now() >= time) return false;  // else a signal came
  }
}

}  // namespace quorvid
