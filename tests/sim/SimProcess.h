#pragma once

#include <sys/types.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

/// A running quorvid-sim. It is ended with the object.
class SimProcess {
 public:
  /// Starts the program and reads its port lines; without any it has ended: see wait() and
  /// errors().
  explicit SimProcess(std::vector<std::string> arguments);
  ~SimProcess();
  SimProcess(const SimProcess&) = delete;
  SimProcess& operator=(const SimProcess&) = delete;

  int port(const std::string& service) const { return ports_.at(service); }
  const std::vector<std::string>& lines() const { return lines_; }
  void signal(int number) const;
  /// Waits for the end. @return exit status, or 128 + the signal that ended it
  int wait();
  /// What was written on standard error so far.
  std::string errors() const;
  /// Waits until standard error contains the text, 10 s at most.
  bool says(const std::string& text) const;

 private:
  void readLines(int descriptor);

  pid_t pid_ = -1;
  std::FILE* errors_;
  std::vector<std::string> lines_;
  std::map<std::string, int> ports_;
};
