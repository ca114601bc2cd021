// LogFilter: the command's own log sink while it lives.
//
// The decoder logs three lines for each unit; those are counted and dropped, every other message is
// remembered (the last one and how many), so that a command can say why it showed nothing. With
// `verbose` all of them go to standard error as well. Any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace quorvid::app {

class LogFilter {
 public:
  explicit LogFilter(bool verbose);
  ~LogFilter();
  LogFilter(const LogFilter&) = delete;
  LogFilter& operator=(const LogFilter&) = delete;

  // Messages beside the per-unit lines, and the last of them.
  std::uint64_t messageCount() const;
  std::string lastMessage() const;
  // Why the system refused the library a thread since the last call; empty when it did not.
  std::string takeThreadRefusal();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace quorvid::app
