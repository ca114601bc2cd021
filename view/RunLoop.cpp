#include "quorvid/view/RunLoop.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "base/Clock.h"
#include "view/LoopBell.h"

namespace quorvid {
namespace {

using Refreshes = std::chrono::duration<std::int64_t, std::ratio<1, 60>>;

}  // namespace

const std::shared_ptr<RunLoop>& RunLoop::currentRunLoop() {
  thread_local const std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
  return loop;
}

RunLoop::RunLoop() : bell_(std::make_shared<LoopBell>()) {}
RunLoop::~RunLoop() = default;

void RunLoop::refreshAt(Time now) {
  // The first call is a refresh. A driver that counts by itself may be ahead of the time.
  if (!counted_) counted_ = now - std::chrono::ceil<Time::duration>(Refreshes(1));
  counted_ = std::min(*counted_, now);
  constexpr Refreshes::rep kMost = std::numeric_limits<std::uint32_t>::max();
  const auto passed = std::chrono::duration_cast<Refreshes>(now - *counted_).count();
  refresh(static_cast<std::uint32_t>(std::min(passed, kMost)));
}

void RunLoop::refresh(std::uint32_t refreshes) {
  refreshCount_ += refreshes;
  if (counted_) *counted_ += std::chrono::duration_cast<Time::duration>(Refreshes(refreshes));
  // A copy: callbacks change the list, and no link may go away under its own callback. In memory
  // that the last call left, for this one comes with every picture.
  std::vector<std::shared_ptr<CADisplayLink>> scheduled = std::move(scheduled_);
  scheduled.assign(links_.begin(), links_.end());
  const double begin = steadySeconds();
  for (const auto& link : scheduled) {
    if (link->mode_ == mode_ && link->preparation_) link->preparation_();
  }
  for (const auto& link : scheduled) {
    if (link->mode_ == mode_) link->tick(refreshes);
  }
  busySeconds_ += steadySeconds() - begin;
  scheduled.clear();
  scheduled_ = std::move(scheduled);
}

bool RunLoop::sleepUntil(Time time) {
  return bell_->waitUntil(time);
}

std::shared_ptr<CADisplayLink> CADisplayLink::displayLinkWithTarget(
    std::function<void()> callback) {
  struct Link : CADisplayLink {
    explicit Link(std::function<void()> target) : CADisplayLink(std::move(target)) {}
  };
  return std::make_shared<Link>(std::move(callback));
}

CADisplayLink::CADisplayLink(std::function<void()> callback) {
  if (callback) callback_ = std::make_shared<std::function<void()>>(std::move(callback));
}

CADisplayLink::~CADisplayLink() = default;

void CADisplayLink::setFrameInterval(int refreshes) {
  frameInterval_ = std::max(refreshes, 1);
}

void CADisplayLink::addToRunLoop(const std::shared_ptr<RunLoop>& loop, RunLoopMode mode) {
  if (loop == nullptr || callback_ == nullptr || !loop_.expired()) return;
  loop_ = loop;
  mode_ = mode;
  loop->links_.push_back(shared_from_this());
}

void CADisplayLink::invalidate() {
  const std::shared_ptr<CADisplayLink> self = shared_from_this();
  if (const std::shared_ptr<RunLoop> loop = loop_.lock()) std::erase(loop->links_, self);
  loop_.reset();
  // Last, for it may destroy the target and everything that the target holds.
  preparation_ = {};
  const auto dropped = std::exchange(callback_, nullptr);
}

// Missed refreshes are counted but never made up for: one call, then the remainder is carried on.
void CADisplayLink::tick(std::uint32_t refreshes) {
  const auto interval = static_cast<std::uint64_t>(frameInterval_);
  const std::uint64_t elapsed = std::uint64_t{elapsed_} + refreshes;
  elapsed_ = static_cast<std::uint32_t>(elapsed % interval);
  if (elapsed < interval && !everyTurn_) return;
  // Holds the callback while it runs, although it may invalidate its own link.
  if (const auto callback = callback_) (*callback)();
}

}  // namespace quorvid
