#include "apps/common/LogFilter.h"

#include <cstdio>
#include <mutex>
#include <string_view>
#include <utility>

#include "apps/common/TerminalText.h"
#include "quorvid/base/Log.h"

namespace quorvid::app {

struct LogFilter::State {
  std::mutex mutex;
  std::uint64_t count = 0;
  std::string last;
  std::string refusal;
};

namespace {

constexpr std::string_view kThreadRefused = "Thread: not started";

bool isPerUnitLine(std::string_view message) {
  return message.starts_with("=====") || message.starts_with("type:");
}

}  // namespace

LogFilter::LogFilter(bool verbose) : state_(std::make_shared<State>()) {
  setLogSink([state = state_, verbose](std::string_view message) {
    if (verbose) std::fprintf(stderr, "%s\n", visibleText(message).c_str());
    if (!isPerUnitLine(message)) {
      const std::lock_guard lock(state->mutex);
      ++state->count;
      state->last = message;
      if (message.starts_with(kThreadRefused)) {
        state->refusal = "can't start a thread";
        state->refusal += message.substr(kThreadRefused.size());
      }
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

std::string LogFilter::takeThreadRefusal() {
  const std::lock_guard lock(state_->mutex);
  return std::exchange(state_->refusal, {});
}

}  // namespace quorvid::app
