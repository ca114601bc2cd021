// LogQuiet: a thread whose details nobody wants, and whose warnings come once rather than for each
// frame. Lives on that thread's stack.
#pragma once

namespace quorvid {

// While one lives on a thread, logDetail() does nothing there, and logMessage() lets a message with
// the same format through once in 10 s.
class LogQuiet {
 public:
  LogQuiet();
  ~LogQuiet();
  LogQuiet(const LogQuiet&) = delete;
  LogQuiet& operator=(const LogQuiet&) = delete;

 private:
  const bool before_;
};

}  // namespace quorvid
