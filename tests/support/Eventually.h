#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

// Looks every millisecond whether the condition holds, for a minute at most; then the test
// fails and says where it waited. For conditions that other threads or processes bring about.
template <typename Condition>
bool eventually(Condition holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE_AT(file, line) << "waited in vain for a minute";
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}
