#include "quorvid/base/Log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "base/LogQuiet.h"

namespace quorvid {
namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPauseBetweenKinds(10);

struct LogState {
  std::mutex mutex;
  LogSink sink;
  std::map<const char*, SteadyClock::time_point>
      lastOfKind;  // of quiet threads: when a format was last let through
  std::atomic<LogLevel> least{LogLevel::Detail};
};

thread_local bool threadIsQuiet = false;

// Never destroyed: a worker thread may still log while the process runs its exit handlers.
LogState& logState() {
  static LogState* const state = std::make_unique<LogState>().release();
  return *state;
}

constexpr std::size_t kBrief = 512;

// In one piece, so that no other process's line comes between.
void writeToStandardError(std::string_view message) {
  std::array<char, kBrief> brief;
  std::string whole;
  char* line = brief.data();
  if (message.size() >= brief.size()) {
    whole.resize(message.size() + 1);
    line = whole.data();
  }
  *std::copy(message.begin(), message.end(), line) = '\n';
  std::fwrite(line, 1, message.size() + 1, stderr);
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
  std::array<char, kBrief> brief;
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

bool isWanted(LogLevel level, const char* format) {
  LogState& state = logState();
  if (level < state.least.load(std::memory_order_relaxed)) return false;
  if (!threadIsQuiet) return true;
  if (level == LogLevel::Detail) return false;
  const std::lock_guard lock(state.mutex);
  const auto now = SteadyClock::now();
  const auto [kind, isFirst] = state.lastOfKind.try_emplace(format, now);
  if (!isFirst && now - kind->second < kPauseBetweenKinds) return false;
  kind->second = now;
  return true;
}

// Of what fails for want of memory is logged too: a message that there is none for is left out.
__attribute__((format(printf, 2, 0))) void log(LogLevel level, const char* format,
                                               va_list arguments) {
  try {
    if (isWanted(level, format)) deliverFormatted(format, arguments);
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace

LogQuiet::LogQuiet() : before_(std::exchange(threadIsQuiet, true)) {}

LogQuiet::~LogQuiet() {
  threadIsQuiet = before_;
}

void setLogSink(LogSink sink, LogLevel least) {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  state.sink.swap(sink);
  state.least = least;
}

void logMessage(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(LogLevel::Warning, format, arguments);
  va_end(arguments);
}

void logDetail(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(LogLevel::Detail, format, arguments);
  va_end(arguments);
}

}  // namespace quorvid
