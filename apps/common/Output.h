// Output: keeps what the library says apart from what the command reports.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>

namespace quorvid::app {

// Whoever read the standard output has gone: `quorvid list | head -1`. That is no fault to be told.
class OutputClosed : public std::exception {};

// The real standard output, for the command's report.
//
// The library's workers print a line to descriptor 1 for nearly every frame. The constructor moves
// the real output to a descriptor of its own and points descriptor 1 at /dev/null, or at standard
// error when the user wants to see those lines. Main thread; make it before any worker.
class ReportOutput {
 public:
  explicit ReportOutput(bool verbose);
  ~ReportOutput();
  ReportOutput(const ReportOutput&) = delete;
  ReportOutput& operator=(const ReportOutput&) = delete;

  // Writes at once, or throws OutputClosed or Failure.
  void write(const std::string& text) const;
  bool isTerminal() const;

 private:
  int descriptor_ = -1;
};

// The command's own log sink while it lives.
//
// The decoder logs three lines for each unit; those are counted and dropped, every other message is
// remembered (the last one and how many), so that a command can say why it showed nothing. With
// `verbose` all of them go to standard error as well. Any thread.
class LogFilter {
 public:
  explicit LogFilter(bool verbose);
  ~LogFilter();
  LogFilter(const LogFilter&) = delete;
  LogFilter& operator=(const LogFilter&) = delete;

  // Messages beside the per-unit lines, and the last of them.
  std::uint64_t messageCount() const;
  std::string lastMessage() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace quorvid::app
