// Deadline: runs something that may block for ever and waits for it only so long.
//
// The library's query workers and the resolver can't be interrupted. They run on a detached thread;
// when the time is up the caller goes on and the thread is left behind. Whatever the body uses must
// therefore be owned by the body (captured by value or by shared_ptr). A thread that the system
// refuses is a std::runtime_error whose text is a sentence for the user.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/common/WorkerThread.h"

namespace quorvid::app {

// The body's result on its way from the detached thread. One waiting thread.
template <typename Result>
class Abandonable {
 public:
  explicit Abandonable(std::function<Result()> body) {
    auto promise = std::make_shared<std::promise<Result>>();
    result_ = promise->get_future();
    const std::string refusal =
        startWorkerThread([promise, body = std::move(body)] { promise->set_value(body()); });
    if (!refusal.empty()) throw std::runtime_error(refusal);
  }

  // Waits for at most that long; true when the body has returned.
  bool waitFor(double seconds) {
    return result_.wait_for(std::chrono::duration<double>(seconds)) == std::future_status::ready;
  }
  // Once, after waitFor() was true.
  Result get() { return result_.get(); }

 private:
  std::future<Result> result_;
};

// Ends the process at once, with what was written flushed: the way out while a thread that was left
// behind may still be inside the library.
[[noreturn]] inline void leaveThreadsBehind(int status) {
  std::fflush(nullptr);
  _exit(status);
}

// Nothing when the body did not return in time: `seconds`, or half a second of them where the
// command has been asked to end.
template <typename Result>
std::optional<Result> callWithin(double seconds, std::function<Result()> body) {
  constexpr double lookInterval = 0.05;
  constexpr double whenStopping = 0.5;
  const double start = steadySeconds();
  Abandonable<Result> call(std::move(body));
  while (!call.waitFor(std::min(seconds, lookInterval))) {
    const double longest = stopRequested() ? std::min(seconds, whenStopping) : seconds;
    if (steadySeconds() - start >= longest) return std::nullopt;
  }
  return call.get();
}

}  // namespace quorvid::app
