// ChildProcess: a program of the project as a user runs it. Killed with the object, or after 100 s.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// What a process has written so far: a file without a name.
class WrittenText {
 public:
  WrittenText();
  int descriptor() const { return fileno(file_.get()); }
  std::string text() const;  // its first mebibyte

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

class ChildProcess {
 public:
  // output, errors: the descriptors that become its standard output and standard error.
  ChildProcess(const char* program, std::vector<std::string> arguments, int output, int errors);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void signal(int number) const;
  // Waits for the end: exit status, or 128 and the signal that ended it.
  int wait();

 private:
  pid_t pid_ = -1;
};
