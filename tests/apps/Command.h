// Command: a running `quorvid`, with what it has written. Killed with the object.
#pragma once

#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/Eventually.h"

class Command {
 public:
  explicit Command(std::vector<std::string> arguments)
      : process_(QUORVID_APP, std::move(arguments), output_.descriptor(), errors_.descriptor()) {}

  void signal(int number) const { process_.signal(number); }
  // Waits for the end: exit status, or 128 and the signal that ended it.
  int wait() { return process_.wait(); }
  std::string output() const { return output_.text(); }
  std::string errors() const { return errors_.text(); }
  // Waits until one of the two contains the text, 30 s at most.
  bool says(const std::string& text) const {
    return eventually([&] { return (output() + "\n" + errors()).find(text) != std::string::npos; });
  }

 private:
  WrittenText output_;
  WrittenText errors_;
  ChildProcess process_;
};

// The fleet, car, relay or list service of a simulator as "127.0.0.1:PORT".
inline std::string at(int port) {
  return "127.0.0.1:" + std::to_string(port);
}

// A file name in the tests' temporary folder; what lies there is removed.
inline std::string freshFile(const std::string& name) {
  std::string path = testing::TempDir() + "quorvid-" + std::to_string(getpid()) + "-" + name;
  unlink(path.c_str());
  return path;
}
