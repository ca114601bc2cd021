#include "base/Thread.h"

#include <atomic>
#include <exception>
#include <thread>
#include <utility>

#include "base/SignalsKeptAway.h"
#include "quorvid/base/Log.h"

namespace quorvid {

struct Thread::State {
  std::function<void()> body;
  std::atomic<bool> executing{false};
  std::atomic<bool> cancelled{false};
  bool started = false;

  // On the new thread. What the body held is let go before the thread counts as ended.
  void run() {
    const std::function<void()> running = std::exchange(body, nullptr);
    running();
  }
};

Thread::Thread(std::function<void()> body) : state_(std::make_shared<State>()) {
  state_->body = std::move(body);
}

// The thread is detached and keeps the state for itself.
Thread::~Thread() = default;

bool Thread::start() {
  if (std::exchange(state_->started, true) || !state_->body) return true;
  state_->executing = true;
  try {
    // The state outlives this object, which the body's own captures may take with them.
    const std::shared_ptr<State> state = state_;
    const SignalsKeptAway signals;
    std::thread([state] {
      state->run();
      state->executing = false;
    }).detach();
    return true;
  } catch (const std::exception& error) {  // only making the thread can throw here
    logMessage("Thread: not started: %s", error.what());
    state_->executing = false;
    const std::function<void()> dropped = std::exchange(state_->body, nullptr);
    return false;
  }
}

void Thread::cancel() {
  state_->cancelled = true;
}

bool Thread::isExecuting() const {
  return state_->executing;
}

bool Thread::isCancelled() const {
  return state_->cancelled;
}

}  // namespace quorvid
