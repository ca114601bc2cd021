#include "quorvid/view/RunLoop.h"

#include <gtest/gtest.h>

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

TEST(RunLoop, FiresOnEveryNthRefreshAndCarriesTheRemainder) {
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
}

TEST(RunLoop, LinksOfTheDefaultModeRestInAnotherMode) {
  const auto loop = std::make_shared<RunLoop>();
  int ticks = 0;
  const auto link = linkEvery(0, loop, [&] { ++ticks; });
  loop->setMode(RunLoopMode::Tracking);
  loop->refresh(10);
  EXPECT_EQ(ticks, 0);
  loop->setMode(RunLoopMode::Default);
  loop->refresh();
  EXPECT_EQ(ticks, 1);
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
