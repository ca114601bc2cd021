// ProgressLine: one line on standard error that is written over again and again; nothing at all
// where standard error is no terminal. Main thread.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace quorvid::app {

class ProgressLine {
 public:
  ~ProgressLine() { clear(); }

  void show(const std::string& text) {
    if (terminal_ && text != shown_) {
      std::fprintf(stderr, "\r%s\033[K", text.c_str());
      shown_ = text;
    }
  }
  // To be called before anything else is written.
  void clear() {
    if (!shown_.empty()) {
      std::fputs("\r\033[K", stderr);
      shown_.clear();
    }
  }

 private:
  bool terminal_ = isatty(STDERR_FILENO) != 0;
  std::string shown_;
};

}  // namespace quorvid::app
