// Seconds of a clock that never jumps: for durations, deadlines and rates. Any thread.
#pragma once

#include <chrono>

namespace quorvid::app {

inline double steadySeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

}  // namespace quorvid::app
