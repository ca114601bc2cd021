#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "support/ChildProcess.h"
#include "support/Eventually.h"

// A running quorvid-sim. It is ended with the object.
class SimProcess {
 public:
  // Starts the program and reads its port lines; without any it has ended: see wait() and
  // errors().
  explicit SimProcess(std::vector<std::string> arguments) {
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no descriptors");
    process_.emplace(QUORVID_SIM, std::move(arguments), out[1], errors_.descriptor());
    close(out[1]);
    readLines(out[0]);
    close(out[0]);
  }

  int port(const std::string& service) const { return ports_.at(service); }
  const std::vector<std::string>& lines() const { return lines_; }
  void signal(int number) const { process_->signal(number); }
  // Waits for the end. @return exit status, or 128 + the signal that ended it
  int wait() { return process_->wait(); }
  // What was written on standard error so far.
  std::string errors() const { return errors_.text(); }
  // Waits until standard error contains the text, a minute at most.
  bool says(const std::string& text) const {
    return eventually([&] { return errors().find(text) != std::string::npos; });
  }

 private:
  // Four lines "service port", one JSON object, or the end.
  void readLines(int descriptor) {
    std::string line;
    for (char c = 0; lines_.size() < 4 && read(descriptor, &c, 1) == 1;) {
      line += c;
      if (c != '\n') continue;
      std::istringstream words(lines_.emplace_back(line, 0, line.size() - 1));
      if (line.front() == '{') return;
      std::string service;
      words >> service;
      words >> ports_[service];
      line.clear();
    }
  }

  WrittenText errors_;
  std::optional<ChildProcess> process_;
  std::vector<std::string> lines_;
  std::map<std::string, int> ports_;
};
