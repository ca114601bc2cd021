#include "quorvid/view/RunLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace quorvid {
namespace {

std::shared_ptr<CADisplayLink> linkEvery(int interval, const std::shared_ptr<RunLoop>& loop,
                                         std::function<void()> callback) {
  auto link = CADisplayLink::displayLinkWithTarget(std::move(callback));
  link->setFrameInterval(interval);
  link->addToRunLoop(loop, NSDefaultRunLoopMode);
  return link;
}

TEST(RunLoop, FiresOnEveryNthRefreshOfItsModeAndCarriesTheRemainder) {
  const auto loop = std::make_shared<RunLoop>();
  int ticks = 0;
  const auto link = linkEvery(2, loop, [&] { ++ticks; });
  loop->refresh();
  EXPECT_EQ(ticks, 0);
  loop->refresh();
  EXPECT_EQ(ticks, 1);
  loop->refresh(5);  // two and a half intervals: one call, one refresh left over
  EXPECT_EQ(ticks, 2);
  loop->refresh();
  EXPECT_EQ(ticks, 3);
  loop->refresh(0xFFFFFFFFU);
  loop->refresh();
  EXPECT_EQ(ticks, 5);
  loop->setMode(RunLoopMode::Tracking);  // the link rests in another mode than its own
  loop->refresh(10);
  EXPECT_EQ(ticks, 5);
  loop->setMode(RunLoopMode::Default);
  loop->refresh(2);
  EXPECT_EQ(ticks, 6);
}

// Ticks of a link of every second refresh during ten seconds of calls that lie `apart`.
int ticksOfTenSeconds(std::chrono::duration<double> apart, int drivers = 1) {
  const auto loop = std::make_shared<RunLoop>();
  int ticks = 0;
  const auto link = linkEvery(2, loop, [&] { ++ticks; });
  const RunLoop::Time begin{};
  for (std::chrono::duration<double> at{0}; at.count() < 10; at += apart) {
    for (int i = 0; i < drivers; ++i) {
      loop->refreshAt(begin +
                      std::chrono::duration_cast<RunLoop::Time::duration>(at + i * apart / 3));
    }
  }
  return ticks;
}

TEST(RunLoop, TheTimeMakesSixtyRefreshesASecondHoweverOftenItIsTold) {
  const std::chrono::duration<double> second{1};
  EXPECT_NEAR(ticksOfTenSeconds(second / 10), 100, 1);  // one a call
  for (const int calls : {31, 40, 60, 75, 144, 1000}) {
    EXPECT_NEAR(ticksOfTenSeconds(second / calls), 300, 2) << calls;
  }
  EXPECT_NEAR(ticksOfTenSeconds(second / 60, 2), 300, 2);
  EXPECT_NEAR(ticksOfTenSeconds(second / 144, 3), 300, 2);
}

TEST(RunLoop, ALinkOfEveryTurnIsServedWithinARefreshToo) {
  const auto loop = std::make_shared<RunLoop>();
  int ticks = 0;
  linkEvery(2, loop, [&] { ++ticks; })->setEveryTurn(true);
  for (int i = 0; i < 5; ++i) loop->refreshAt(RunLoop::Time{});
  EXPECT_EQ(ticks, 5);
  EXPECT_EQ(loop->refreshCount(), 1U);
}

TEST(RunLoop, WhatADriverHasCountedIsNotCountedAgain) {
  const auto loop = std::make_shared<RunLoop>();
  RunLoop::Time now{};
  loop->refreshAt(now);
  for (int i = 0; i < 60; ++i) {
    loop->refresh();
    loop->refreshAt(now += std::chrono::microseconds(16'667));
  }
  EXPECT_NEAR(static_cast<double>(loop->refreshCount()), 61, 1);
  loop->refresh(1'000'000);  // a driver that counts too much holds nobody up
  loop->refreshAt(now += std::chrono::seconds(1));
  loop->refreshAt(now += std::chrono::seconds(1));
  EXPECT_NEAR(static_cast<double>(loop->refreshCount()), 1'000'121, 2);
}

TEST(RunLoop, InvalidatingDropsTheTargetAfterItsOwnCallbackReturned) {
  const auto loop = std::make_shared<RunLoop>();
  auto target = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = target;
  std::weak_ptr<CADisplayLink> link;
  link = linkEvery(1, loop, [&link, target] {
    link.lock()->invalidate();
    ++*target;  // still there although the loop and the link have let go
  });
  target.reset();
  loop->refresh();
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(link.expired());
  EXPECT_EQ(loop->linkCount(), 0U);
  loop->refresh();
}

TEST(RunLoop, ACallbackMayInvalidateLaterLinksAndAddNewOnes) {
  const auto loop = std::make_shared<RunLoop>();
  int later = 0;
  int added = 0;
  std::shared_ptr<CADisplayLink> victim;
  const auto first = linkEvery(1, loop, [&] {
    victim->invalidate();
    linkEvery(1, loop, [&] { ++added; });
  });
  victim = linkEvery(1, loop, [&] { ++later; });
  loop->refresh();
  EXPECT_EQ(later, 0);
  EXPECT_EQ(added, 0);
  loop->refresh();
  EXPECT_EQ(added, 1);
  victim->addToRunLoop(loop, NSDefaultRunLoopMode);  // an invalidated link stays out
  first->addToRunLoop(loop, NSDefaultRunLoopMode);   // a joined one joins once
  EXPECT_EQ(loop->linkCount(), 3U);
}

TEST(RunLoop, EachThreadHasItsOwnLoopAndItsEndDropsTheTargets) {
  auto target = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = target;
  const auto mine = RunLoop::currentRunLoop();
  std::thread([&mine, kept = std::move(target)] {
    EXPECT_NE(RunLoop::currentRunLoop(), mine);
    linkEvery(1, RunLoop::currentRunLoop(), [kept] {});
  }).join();
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace quorvid
