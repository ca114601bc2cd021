// ExpectLog: announces a line of the library's log. In every test program a case fails when the log
// gets a line that it has not announced and that is none of those the decoder writes for each unit
// (LogGuard.cpp); a case that sets a sink of its own answers for its lines itself.
//
//   const ExpectLog expected("Failed to compile");
#pragma once

#include <string>

namespace quorvid::test {

enum class LogCount { Any, AtLeastOne };

class ExpectLog {
 public:
  // For this object's lifetime: lines that contain `part`. Its end adds a failure when fewer came
  // than `count` says.
  explicit ExpectLog(std::string part, LogCount count = LogCount::AtLeastOne);
  ~ExpectLog();
  ExpectLog(const ExpectLog&) = delete;
  ExpectLog& operator=(const ExpectLog&) = delete;

 private:
  const std::string part_;
  const LogCount count_;
};

}  // namespace quorvid::test
