#pragma once

#include <map>
#include <optional>

#include "support/ChildProcess.h"

// A running quorvid-sim. It is ended with the object.
class SimProcess {
 public:
  // Starts the program and reads its port lines; without any it has ended: see wait() and
  // errors().
  explicit SimProcess(std::vector<std::string> arguments);

  int port(const std::string& service) const { return ports_.at(service); }
  const std::vector<std::string>& lines() const { return lines_; }
  void signal(int number) const { process_->signal(number); }
  // Waits for the end. @return exit status, or 128 + the signal that ended it
  int wait() { return process_->wait(); }
  // What was written on standard error so far.
  std::string errors() const { return errors_.text(); }
  // Waits until standard error contains the text, a minute at most.
  bool says(const std::string& text) const;

 private:
  void readLines(int descriptor);

  WrittenText errors_;
  std::optional<ChildProcess> process_;
  std::vector<std::string> lines_;
  std::map<std::string, int> ports_;
};
