// RunLoop and CADisplayLink: the display-synchronised timer and the loop that it joins.
//
// One run loop per thread, driven from outside: whoever owns the display's clock (the library's
// window, a toolkit's frame clock, a test) calls refresh() or refreshAt() on the loop's own thread.
// Any number of drivers may call refreshAt(): together they make 60 refreshes a second. Of those
// that count for themselves there should be one.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "quorvid/base/Export.h"

namespace quorvid {

enum class RunLoopMode : std::uint8_t {
  Default,   // NSDefaultRunLoopMode
  Tracking,  // the host runs a menu or drags something: links of the default mode rest
};
inline constexpr RunLoopMode NSDefaultRunLoopMode = RunLoopMode::Default;

class CADisplayLink;
class LoopBell;

class QUORVID_API RunLoop {
 public:
  // The calling thread's loop, made on first use.
  static const std::shared_ptr<RunLoop>& currentRunLoop();

  RunLoop();
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  // Tells that `refreshes` display refreshes have gone by (more than 1 when some were missed) and
  // calls every link of the current mode that is due, each at most once. A callback may invalidate
  // its own link or others, and may add links (those wait for the next refresh).
  void refresh(std::uint32_t refreshes = 1);
  // The same with as many refreshes as 60 a second make since the last call and were not told by
  // refresh() meanwhile; with none, only links that tick at every turn are called. The first call
  // tells one.
  using Time = std::chrono::steady_clock::time_point;
  void refreshAt(Time now);
  // Sleeps until that time, or until one of the thread's live views has something new to show: true
  // then, for the caller to call refresh(0) and draw. On the loop's own thread.
  bool sleepUntil(Time time);
  // What ends that sleep; for the views. Never null.
  const std::shared_ptr<LoopBell>& bell() const { return bell_; }
  // Refreshes told so far.
  std::uint64_t refreshCount() const { return refreshCount_; }
  // Seconds that the thread has spent on its views so far: in calls of links, and what drivers add.
  // Views that can't be drawn as fast as their pictures come tell so by it.
  double busySeconds() const { return busySeconds_; }
  // For who draws the views: the time that drawing and showing them took, without waiting for the
  // display. (ViewHost adds composite() by itself.)
  void addBusySeconds(double seconds) { busySeconds_ += seconds; }

  RunLoopMode mode() const { return mode_; }
  void setMode(RunLoopMode mode) { mode_ = mode; }
  // Links now scheduled.
  std::size_t linkCount() const { return links_.size(); }

 private:
  friend class CADisplayLink;
  std::vector<std::shared_ptr<CADisplayLink>> links_;
  std::vector<std::shared_ptr<CADisplayLink>> scheduled_;  // empty; refresh() uses its memory
  RunLoopMode mode_ = RunLoopMode::Default;
  std::uint64_t refreshCount_ = 0;
  double busySeconds_ = 0;
  std::optional<Time> counted_;  // up to when refreshes were told, once the time was
  const std::shared_ptr<LoopBell> bell_;
};

class QUORVID_API CADisplayLink : public std::enable_shared_from_this<CADisplayLink> {
 public:
  // callback: what to call on every tick; it holds the target strongly (capture a shared_ptr), and
  // the link drops it when it is invalidated.
  static std::shared_ptr<CADisplayLink> displayLinkWithTarget(std::function<void()> callback);
  ~CADisplayLink();
  CADisplayLink(const CADisplayLink&) = delete;
  CADisplayLink& operator=(const CADisplayLink&) = delete;

  // Ticks once every N refreshes; 1 at first, values below 1 count as 1.
  void setFrameInterval(int refreshes);
  int frameInterval() const { return frameInterval_; }
  // Ticks at every call of refresh() and refreshAt(), whatever time has passed: for what waits for
  // something else than the display, and must be served when the host was woken for it.
  void setEveryTurn(bool everyTurn) { everyTurn_ = everyTurn; }
  // Called in each turn before the first of the loop's links ticks, whether this one is due or not:
  // for work that other threads can do meanwhile. It adds and invalidates no links.
  void setPreparation(std::function<void()> preparation) { preparation_ = std::move(preparation); }
  // The loop keeps the link until it is invalidated. A link joins one loop once.
  void addToRunLoop(const std::shared_ptr<RunLoop>& loop, RunLoopMode mode);
  // Unschedules the link and drops its callback; safe inside the callback itself.
  void invalidate();

 private:
  friend class RunLoop;
  QUORVID_LOCAL explicit CADisplayLink(std::function<void()> callback);
  QUORVID_LOCAL void tick(std::uint32_t refreshes);

  std::shared_ptr<std::function<void()>> callback_;
  std::function<void()> preparation_;
  std::weak_ptr<RunLoop> loop_;
  RunLoopMode mode_ = RunLoopMode::Default;
  int frameInterval_ = 1;
  std::uint32_t elapsed_ = 0;
  bool everyTurn_ = false;
};

}  // namespace quorvid
