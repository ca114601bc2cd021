// LoopBell: ends the sleep of the thread that turns a run loop. Any thread rings; one waits.
#pragma once

#include <atomic>
#include <chrono>

namespace quorvid {

class LoopBell {
 public:
  LoopBell();
  ~LoopBell();
  LoopBell(const LoopBell&) = delete;
  LoopBell& operator=(const LoopBell&) = delete;

  // Costs nothing unless somebody waits now and then.
  void ring();
  // True as soon as it was rung since the last wait, false at that time. Where the system gave no
  // descriptor it is deaf.
  bool waitUntil(std::chrono::steady_clock::time_point time);

 private:
  const int descriptor_;
  std::atomic<bool> isWaitedFor_ = false;
};

}  // namespace quorvid
