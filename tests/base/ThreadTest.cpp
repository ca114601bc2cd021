#include "base/Thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <set>
#include <thread>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "support/Eventually.h"

namespace quorvid {
namespace {

TEST(Thread, ExecutesFromStartToTheBodysEnd) {
  std::promise<void> go;
  Thread thread([&go] { go.get_future().wait(); });
  EXPECT_FALSE(thread.isExecuting());
  thread.start();
  EXPECT_TRUE(thread.isExecuting());
  thread.cancel();
  EXPECT_TRUE(thread.isCancelled());
  EXPECT_TRUE(thread.isExecuting());  // a mark only
  go.set_value();
  EXPECT_TRUE(eventually([&] { return !thread.isExecuting(); }));
  thread.start();  // once
  EXPECT_FALSE(thread.isExecuting());
}

// A session is held by its own body and holds the thread object: the last one out is the body.
TEST(Thread, TheBodysCapturesGoWithItOnItsOwnThread) {
  struct Owner {
    std::unique_ptr<Thread> thread;
    std::promise<std::thread::id> end;
    ~Owner() { end.set_value(std::this_thread::get_id()); }
  };
  auto owner = std::make_shared<Owner>();
  auto end = owner->end.get_future();
  std::promise<void> go;
  owner->thread =
      std::make_unique<Thread>([owner, released = go.get_future().share()] { released.wait(); });
  owner->thread->start();
  owner.reset();
  go.set_value();
  ASSERT_EQ(end.wait_for(std::chrono::minutes(1)), std::future_status::ready);
  EXPECT_TRUE(end.get() != std::this_thread::get_id());
}

// The system's own (32, 33) and the two that can't be blocked are left out.
TEST(Thread, HandlesNoSignalButItsOwnFaults) {
  const std::set<int> open{SIGSEGV, SIGBUS,  SIGFPE,  SIGILL,  SIGTRAP, SIGSYS,
                           SIGABRT, SIGPROF, SIGKILL, SIGSTOP, 32,      33};
  sigset_t before, within, after;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  Thread thread([&within] { pthread_sigmask(SIG_SETMASK, nullptr, &within); });
  thread.start();
  EXPECT_TRUE(eventually([&] { return !thread.isExecuting(); }));
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  for (int number = 1; number <= SIGRTMAX; ++number) {
    EXPECT_NE(sigismember(&within, number) == 1, open.count(number) == 1) << number;
    EXPECT_EQ(sigismember(&after, number), sigismember(&before, number)) << number;
  }
}

// A default stack larger than the address space: no thread can be made.
void setDefaultStack(std::size_t bytes) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, bytes);
  pthread_setattr_default_np(&attributes);
  pthread_attr_destroy(&attributes);
}

TEST(Thread, ARefusedThreadIsLoggedAndLetsItsBodyGo) {
  std::string message;
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = captured;
  Thread thread([kept = std::move(captured)] {});
  setLogSink([&](std::string_view text) { message = text; });
  setDefaultStack(std::size_t{1} << 50);
  thread.start();
  setDefaultStack(std::size_t{8} << 20);
  setLogSink(nullptr);
  EXPECT_FALSE(thread.isExecuting());
  EXPECT_TRUE(watch.expired());
  EXPECT_NE(message.find("Thread: not started"), std::string::npos) << message;
}

}  // namespace
}  // namespace quorvid
