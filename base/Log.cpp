#include "quorvid/base/Log.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace quorvid {
namespace {

struct LogState {
  std::mutex mutex;
  LogSink sink;
};

// Never destroyed: a worker thread may still log while the process runs its exit handlers.
LogState& logState() {
  static LogState* const state = std::make_unique<LogState>().release();
  return *state;
}

void writeToStandardError(std::string_view message) {
  std::string line(message);
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void deliver(std::string_view message) {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  if (state.sink) {
    state.sink(message);
  } else {
    writeToStandardError(message);
  }
}

__attribute__((format(printf, 1, 0))) void deliverFormatted(const char* format, va_list arguments) {
  std::array<char, 512> brief;
  va_list again;
  va_copy(again, arguments);
  // The analyzer does not follow va_start into this function.
  // NOLINTNEXTLINE(clang-analyzer-valist*)
  const int length = std::vsnprintf(brief.data(), brief.size(), format, arguments);
  if (length < 0) {
    deliver(format);  // an encoding error: the bare format still tells where it came from
  } else if (static_cast<std::size_t>(length) < brief.size()) {
    deliver(std::string_view(brief.data(), static_cast<std::size_t>(length)));
  } else {
    std::string whole(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(whole.data(), whole.size(), format, again);
    whole.pop_back();
    deliver(whole);
  }
  va_end(again);
}

}  // namespace

void setLogSink(LogSink sink) {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  state.sink.swap(sink);
}

void logMessage(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  deliverFormatted(format, arguments);
  va_end(arguments);
}

}  // namespace quorvid
