#include "base/Thread.h"

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <exception>
#include <thread>
#include <utility>

#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

// Keeps the process's signals from threads that are made while it lives: they start with the mask
// of their maker, so there is no moment at which one of them could be chosen to handle a signal.
// Those that a fault of the thread itself raises stay, and the profiler's.
class SignalsKeptAway {
 public:
  SignalsKeptAway() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT, SIGPROF}) {
      sigdelset(&blocked, own);
    }
    pthread_sigmask(SIG_BLOCK, &blocked, &before_);
  }
  ~SignalsKeptAway() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsKeptAway(const SignalsKeptAway&) = delete;
  SignalsKeptAway& operator=(const SignalsKeptAway&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

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

void Thread::start() {
  if (std::exchange(state_->started, true) || !state_->body) {
    return;
  }
  state_->executing = true;
  try {
    // The state outlives this object, which the body's own captures may take with them.
    const std::shared_ptr<State> state = state_;
    const SignalsKeptAway signals;
    std::thread([state] {
      state->run();
      state->executing = false;
    }).detach();
  } catch (const std::exception& error) {  // only making the thread can throw here
    logMessage("Thread: not started: %s", error.what());
    state_->executing = false;
    const std::function<void()> dropped = std::exchange(state_->body, nullptr);
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
