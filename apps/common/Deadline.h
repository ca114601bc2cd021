// Deadline: time that never jumps, and how to wait only so long for what may block for ever.
//
// The library's query workers and the resolver can't be interrupted. They run on a detached thread;
// when the time is up the caller goes on and the thread is left behind. Whatever the body uses must
// therefore be owned by the body (captured by value or by shared_ptr).
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>

#include "apps/common/Process.h"

namespace quorvid::app {

// Seconds of a clock that never jumps: for durations, deadlines and rates. Any thread.
inline double steadySeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

// So long a look outward may take: `seconds`, or half a second of them where the command has been
// asked to end, which then still can say what it found.
inline double patience(double seconds) {
  constexpr double kWhenStopping = 0.5;
  return stopRequested() ? std::min(seconds, kWhenStopping) : seconds;
}

// The body's result on its way from the detached thread. One waiting thread. A thread that the
// system refuses is a Failure.
template <typename Result>
class Abandonable {
 public:
  explicit Abandonable(std::function<Result()> body) {
    auto promise = std::make_shared<std::promise<Result>>();
    result_ = promise->get_future();
    startWorkerThread([promise, body = std::move(body)] { promise->set_value(body()); });
  }
  ~Abandonable() {
    if (result_.valid() && !waitFor(0)) leaveThreadBehind();
  }
  Abandonable(const Abandonable&) = delete;
  Abandonable& operator=(const Abandonable&) = delete;

  // Waits for at most that long; true when the body has returned.
  bool waitFor(double seconds) {
    return result_.wait_for(std::chrono::duration<double>(seconds)) == std::future_status::ready;
  }
  // Once, after waitFor() was true.
  Result get() { return result_.get(); }

 private:
  std::future<Result> result_;
};

// Nothing when the body did not return in time.
template <typename Result>
std::optional<Result> callWithin(double seconds, std::function<Result()> body) {
  constexpr double kLookInterval = 0.05;
  const double start = steadySeconds();
  Abandonable<Result> call(std::move(body));
  while (!call.waitFor(std::min(seconds, kLookInterval))) {
    if (steadySeconds() - start >= patience(seconds)) return std::nullopt;
  }
  return call.get();
}

}  // namespace quorvid::app
