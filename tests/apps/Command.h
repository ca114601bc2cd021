// Command: a running `quorvid`, with what it has written. Killed with the object.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

class Command {
 public:
  explicit Command(std::vector<std::string> arguments);
  ~Command();
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  void signal(int number) const;
  // Waits for the end: exit status, or 128 and the signal that ended it.
  int wait();
  std::string output() const { return textOf(output_); }
  std::string errors() const { return textOf(errors_); }
  // Waits until one of the two contains the text, 30 s at most.
  bool says(const std::string& text) const;

 private:
  static std::string textOf(std::FILE* file);

  pid_t pid_ = -1;
  std::FILE* output_;
  std::FILE* errors_;
};

// The fleet, car, relay or list service of a simulator as "127.0.0.1:PORT".
std::string at(int port);

// A file name in the tests' temporary folder; what lies there is removed.
std::string freshFile(const std::string& name);
