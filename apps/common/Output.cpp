#include "apps/common/Output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string_view>

#include "apps/common/Failure.h"
#include "apps/common/Terminal.h"
#include "quorvid/base/Log.h"

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

void ReportOutput::write(const std::string& text) const {
  for (std::string_view left = text; !left.empty();) {
    const ssize_t count = ::write(descriptor_, left.data(), left.size());
    if (count >= 0) {
      left.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EPIPE) {
      throw OutputClosed();
    } else if (errno != EINTR) {
      throw Failure(std::string("can't write to standard output: ") + std::strerror(errno));
    }
  }
}

bool ReportOutput::isTerminal() const {
  return isatty(descriptor_) != 0;
}

struct LogFilter::State {
  std::mutex mutex;
  std::uint64_t count = 0;
  std::string last;
};

namespace {

bool isPerUnitLine(std::string_view message) {
  return message.starts_with("=====") || message.starts_with("type:");
}

}  // namespace

LogFilter::LogFilter(bool verbose) : state_(std::make_shared<State>()) {
  setLogSink([state = state_, verbose](std::string_view message) {
    if (verbose) fmt::print(stderr, "{}\n", visibleText(message));
    if (!isPerUnitLine(message)) {
      const std::lock_guard lock(state->mutex);
      ++state->count;
      state->last = message;
    }
  });
}

LogFilter::~LogFilter() {
  setLogSink({});
}

std::uint64_t LogFilter::messageCount() const {
  const std::lock_guard lock(state_->mutex);
  return state_->count;
}

std::string LogFilter::lastMessage() const {
  const std::lock_guard lock(state_->mutex);
  return state_->last;
}

}  // namespace quorvid::app
