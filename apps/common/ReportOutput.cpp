#include "apps/common/ReportOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace quorvid::app {

ReportOutput::ReportOutput(bool verbose) {
  std::fflush(stdout);
  descriptor_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
  const int sink = verbose ? STDERR_FILENO : open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(sink, STDOUT_FILENO);
  if (!verbose && sink > STDERR_FILENO) close(sink);
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

ReportOutput::~ReportOutput() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool ReportOutput::write(const std::string& text) {
  const char* from = text.data();
  std::size_t left = text.size();
  while (left > 0 && !failed_) {
    const ssize_t count = ::write(descriptor_, from, left);
    if (count >= 0) {
      from += count;
      left -= static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      std::fprintf(stderr, "quorvid: can't write to standard output: %s\n", std::strerror(errno));
      failed_ = true;
    }
  }
  return !failed_;
}

bool ReportOutput::isTerminal() const {
  return isatty(descriptor_) != 0;
}

}  // namespace quorvid::app
