// The signals of the tools' threads.
#include "apps/common/Process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <future>

namespace quorvid::app {
namespace {

TEST(WorkerThread, TakesOnlySignalsOfItsOwnFaults) {
  std::promise<sigset_t> mask;
  startWorkerThread([&mask] {
    sigset_t set;
    pthread_sigmask(SIG_SETMASK, nullptr, &set);
    mask.set_value(set);
  });
  const sigset_t worker = mask.get_future().get();
  sigset_t caller;
  pthread_sigmask(SIG_SETMASK, nullptr, &caller);
  for (const int number : {SIGINT, SIGTERM, SIGALRM, SIGCHLD, SIGUSR1, SIGWINCH}) {
    EXPECT_EQ(sigismember(&worker, number), 1) << number;
    EXPECT_EQ(sigismember(&caller, number), 0) << number;
  }
  for (const int number : {SIGSEGV, SIGABRT, SIGPROF}) {
    EXPECT_EQ(sigismember(&worker, number), 0) << number;
  }
}

}  // namespace
}  // namespace quorvid::app
