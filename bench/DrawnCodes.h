// DrawnCodes: block codes drawn into a window of the display at known times, to measure how soon
// ScreenCode sees them. One thread draws; the others only ask whether it is done.
#pragma once

#include <X11/Xlib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

#include "bench/ScreenCode.h"

namespace quorvid::bench {

class DrawnCodes {
 public:
  struct Times {
    std::chrono::steady_clock::time_point begun, complete;  // complete: the X server said so
  };

  // @throws std::runtime_error without a display
  explicit DrawnCodes(const ScreenArea& area);
  // Draws codes 0 to 199, 33 ms and a bit apart, so that looks fall everywhere between.
  void run();
  bool isDone() const { return done_; }
  // By number; once done.
  const std::vector<Times>& times() const { return times_; }

 private:
  struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
  };
  const ScreenArea area_;
  const std::unique_ptr<Display, CloseDisplay> display_;
  std::vector<Times> times_;
  std::atomic<bool> done_{false};
};

}  // namespace quorvid::bench
