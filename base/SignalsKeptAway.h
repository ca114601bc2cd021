// SignalsKeptAway: keeps the process's signals from threads that are made while it lives. Any
// thread; lives on the stack around the making of one.
#pragma once

#include <pthread.h>

#include <csignal>

namespace quorvid {

// A new thread starts with the mask of its maker, so there is no moment at which it could be chosen
// to handle a signal: a read that one interrupts would begin its time-out anew. Those that a fault
// of the thread itself raises stay, and the profiler's.
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

}  // namespace quorvid
