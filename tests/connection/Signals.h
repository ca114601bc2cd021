// Signals that interrupt what a thread waits for.
#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace quorvid::test {

inline std::atomic<int> signalsSeen{0};

// Handled without SA_RESTART, as a profiler's or a timer's signal may be.
inline void countSignals() {
  struct sigaction action {};
  action.sa_handler = [](int) { ++signalsSeen; };
  sigaction(SIGUSR1, &action, nullptr);
}

inline void interruptOften(std::thread& thread) {
  countSignals();
  for (int i = 0; i < 20; ++i) {
    pthread_kill(thread.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace quorvid::test
