#include "apps/common/WorkerThread.h"

#include <csignal>
#include <exception>
#include <thread>
#include <utility>

namespace quorvid::app {

namespace {

sigset_t signalsToBlock() {
  sigset_t set;
  sigfillset(&set);
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT, SIGPROF}) {
    sigdelset(&set, number);
  }
  return set;
}

}  // namespace

// The new thread inherits the caller's mask, so none reaches it before its body begins.
std::string startWorkerThread(std::function<void()> body) {
  const sigset_t blocked = signalsToBlock();
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, &blocked, &before);
  std::string refusal;
  try {
    std::thread(std::move(body)).detach();
  } catch (const std::exception& error) {  // only making the thread can throw here
    refusal = std::string("can't start a thread: ") + error.what();
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return refusal;
}

}  // namespace quorvid::app
