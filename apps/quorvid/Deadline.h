// Deadline: runs something that may block for ever and waits for it only so long.
//
// The library's query workers and the resolver can't be interrupted. They run on a detached thread;
// when the time is up the caller goes on and the thread is left behind. Whatever the body uses must
// therefore be owned by the body (captured by value or by shared_ptr).
#ifndef QUORVID_APPS_QUORVID_DEADLINE_H
#define QUORVID_APPS_QUORVID_DEADLINE_H

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

namespace quorvid::app {

// The body's result on its way from the detached thread. One waiting thread.
template <typename Result>
class Abandonable {
 public:
  explicit Abandonable(std::function<Result()> body) {
    auto promise = std::make_shared<std::promise<Result>>();
    result_ = promise->get_future();
    std::thread([promise, body = std::move(body)] { promise->set_value(body()); }).detach();
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

// Nothing when the body did not return in time.
template <typename Result>
std::optional<Result> callWithin(double seconds, std::function<Result()> body) {
  Abandonable<Result> call(std::move(body));
  if (!call.waitFor(seconds)) {
    return std::nullopt;
  }
  return call.get();
}

}  // namespace quorvid::app

#endif
