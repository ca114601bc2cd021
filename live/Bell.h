// Bell: wakes a thread that sleeps for a while. Any thread rings; one waits.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace quorvid {

class Bell {
 public:
  void ring() {
    const std::lock_guard lock(mutex_);
    rung_ = true;
    changed_.notify_one();
  }
  // Returns at once when it was rung since the last wait.
  void wait(std::chrono::milliseconds most) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, most, [this] { return rung_; });
    rung_ = false;
  }

 private:
  std::mutex mutex_;  // guards rung_
  std::condition_variable changed_;
  bool rung_ = false;
};

}  // namespace quorvid
