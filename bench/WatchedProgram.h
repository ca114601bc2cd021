// WatchedProgram: a program that was started to be measured from outside. POSIX, one thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace quorvid::bench {

class WatchedProgram {
 public:
  // Its standard output goes nowhere. @throws std::runtime_error with a sentence
  explicit WatchedProgram(const std::vector<std::string>& command);
  // Ends it, if it still runs.
  ~WatchedProgram();
  WatchedProgram(const WatchedProgram&) = delete;
  WatchedProgram& operator=(const WatchedProgram&) = delete;

  std::chrono::steady_clock::time_point started() const { return started_; }
  // User and system time of all its threads so far.
  double processorSeconds() const;
  long residentKiB() const;
  // Files with code that it has mapped, besides the program itself.
  std::size_t sharedObjects() const;
  bool isRunning();

 private:
  std::chrono::steady_clock::time_point started_;
  pid_t pid_ = -1;
};

}  // namespace quorvid::bench
