// ReportOutput: keeps the real standard output for the command's report.
//
// The library's workers print a line to descriptor 1 for nearly every frame. The constructor moves
// the real output to a descriptor of its own and points descriptor 1 at /dev/null, or at standard
// error when the user wants to see those lines. Main thread; make it before any worker.
#pragma once

#include <string>

namespace quorvid::app {

class ReportOutput {
 public:
  explicit ReportOutput(bool verbose);
  ~ReportOutput();
  ReportOutput(const ReportOutput&) = delete;
  ReportOutput& operator=(const ReportOutput&) = delete;

  // Writes at once. False, now and later, when a write failed.
  bool write(const std::string& text);
  bool isTerminal() const;

 private:
  int descriptor_ = -1;
  bool failed_ = false;
};

}  // namespace quorvid::app
