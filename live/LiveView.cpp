#include "quorvid/live/LiveView.h"

#include <cmath>
#include <exception>
#include <new>
#include <thread>
#include <utility>

#include "base/Clock.h"
#include "live/LivePlayer.h"
#include "live/PictureLayer.h"
#include "port/PictureRgb.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/RunLoop.h"

namespace quorvid {

struct LiveView::State {
  explicit State(const LiveOptions& options)
      : wake(std::make_shared<Wake>(RunLoop::currentRunLoop()->bell())), player(options, wake) {}

  bool prepareToDraw(LiveView& view);
  void turn(LiveView& view);
  void draw(LiveView& view, double now);
  LiveStatus status(double now) const;
  void tell(double now);
  bool isOwnThread();

  const std::thread::id thread = std::this_thread::get_id();
  bool saidWrongThread = false;
  std::shared_ptr<Wake> wake;
  LivePlayer player;
  bool visible = true;      // as setVisible() was told
  bool isPrepared = false;  // to draw, or it turned out that it can't
  std::unique_ptr<PictureLayer> layer;
  std::shared_ptr<CADisplayLink> link;
  std::function<void(const LiveStatus&)> handler;
  LiveStatus told;
};

std::shared_ptr<LiveView> LiveView::initWithFrame(CGRect frame, const LiveOptions& options) {
  std::shared_ptr<LiveView> view = initToDrawLater(frame, options);
  try {
    if (view != nullptr) view->prepareToDraw();
    return view;
  } catch (const std::exception& error) {
    logMessage("LiveView: not created: %s", error.what());
    return nullptr;
  }
}

std::shared_ptr<LiveView> LiveView::initToDrawLater(CGRect frame, const LiveOptions& options) {
  struct View : LiveView {
    explicit View(CGRect rectangle) : LiveView(rectangle) {}
  };
  try {
    std::shared_ptr<LiveView> view = std::make_shared<View>(frame);
    view->state_ = std::make_unique<State>(options);
    view->setBackgroundColor(UIColor::blackColor());
    const std::weak_ptr<UIView> weak = view;
    view->state_->link = CADisplayLink::displayLinkWithTarget([weak] {
      if (const auto self = std::static_pointer_cast<LiveView>(weak.lock())) {
        self->state_->turn(*self);
      }
    });
    view->state_->link->setPreparation([weak] {
      if (const auto self = std::static_pointer_cast<LiveView>(weak.lock())) {
        self->state_->player.prepare();
      }
    });
    view->state_->link->setEveryTurn(true);  // or a wake within the same refresh would be lost
    view->state_->link->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
    return view;
  } catch (const std::exception& error) {
    logMessage("LiveView: not created: %s", error.what());
    return nullptr;
  }
}

LiveView::LiveView(CGRect frame) : UIView(frame) {}

LiveView::~LiveView() {
  if (state_ == nullptr) return;
  state_->wake->setHandler({});
  if (state_->link != nullptr) state_->link->invalidate();
}

bool LiveView::prepareToDraw() {
  return state_->isOwnThread() && state_->prepareToDraw(*this);
}

bool LiveView::State::prepareToDraw(LiveView& view) {
  if (std::exchange(isPrepared, true)) return layer != nullptr;
  try {
    layer = PictureLayer::make(*view.layer());
  } catch (const std::exception& error) {
    logMessage("LiveView: nothing to draw with: %s", error.what());
  }
  if (layer != nullptr) return true;
  isPrepared = false;  // unless that can be told
  player.giveUp(LiveReason::NoGraphics, "no OpenGL ES 2 context can be had to draw in");
  isPrepared = true;
  return false;
}

// A turn that lacks memory is over, and the next one comes by itself: nothing is thrown at the
// host's loop.
void LiveView::State::turn(LiveView& view) {
  wake->clear();
  const double now = steadySeconds();
  try {
    prepareToDraw(view);
    draw(view, now);
    tell(now);  // last: the handler may let the view go
  } catch (const std::bad_alloc&) {
    logMessage("LiveView: there is no memory for a picture or a state");
  }
}

void LiveView::State::draw(LiveView& view, double now) {
  view.windowVisibilityChanged();  // it may be in another window
  auto picture = player.turn(now, RunLoop::currentRunLoop()->busySeconds());
  if (layer == nullptr || !player.isVisible()) return;
  layer->place(view.bounds(), player.options().shape);
  if (picture) {
    const double arrival = picture->arrival;
    layer->show(std::move(*picture));
    if (!layer->lacksStorage()) player.pictureShown(steadySeconds(), arrival);
  } else if (player.options().greyWhenStill) {
    layer->setGrey(player.isStill(now));
  }
}

// Of a view that plays and has nothing to draw into: each picture tries again to get that.
LiveStatus LiveView::State::status(double now) const {
  LiveStatus status = player.status(now);
  if (status.state == LiveState::Live && layer != nullptr && layer->lacksStorage()) {
    return makeStatus(LiveState::Late, LiveReason::NoGraphics, "there is no storage to draw into");
  }
  return status;
}

void LiveView::State::tell(double now) {
  const LiveStatus status = this->status(now);
  if (status == told) return;
  const auto call = handler;  // a copy: it may set another
  told = status;
  if (call) call(status);
}

bool LiveView::State::isOwnThread() {
  const bool isOwn = std::this_thread::get_id() == thread;
  if (!isOwn && !std::exchange(saidWrongThread, true)) {
    logMessage("LiveView: called on another thread than the one that made it; ignored");
  }
  return isOwn;
}

bool LiveView::connect(const LiveTarget& target) {
  return state_->isOwnThread() && state_->player.connect(target);
}

bool LiveView::play() {
  return state_->isOwnThread() && state_->player.play();
}

void LiveView::stop() {
  if (state_->isOwnThread()) state_->player.stop();
}

void LiveView::restart() {
  if (state_->isOwnThread()) state_->player.restart();
}

bool LiveView::isPlaying() const {
  return state_->player.isPlaying();
}

const LiveTarget& LiveView::target() const {
  return state_->player.target();
}

void LiveView::setVisible(bool visible) {
  if (!state_->isOwnThread()) return;
  state_->visible = visible;
  windowVisibilityChanged();
}

void LiveView::windowVisibilityChanged() {
  state_->player.setVisible(state_->visible && isWindowVisible());
}

bool LiveView::isVisible() const {
  return state_->visible;
}

void LiveView::setOptions(const LiveOptions& options) {
  if (state_->isOwnThread()) state_->player.setOptions(options);
}

const LiveOptions& LiveView::options() const {
  return state_->player.options();
}

LiveStatus LiveView::status() const {
  return state_->status(steadySeconds());
}

LiveFigures LiveView::figures() const {
  return state_->player.figures(steadySeconds());
}

void LiveView::setStatusHandler(std::function<void(const LiveStatus&)> handler) {
  if (state_->isOwnThread()) state_->handler = std::move(handler);
}

int LiveView::descriptor() const {
  return state_->wake->descriptor();
}

void LiveView::setWakeHandler(std::function<void()> handler) {
  state_->wake->setHandler(std::move(handler));
}

std::optional<LivePicture> LiveView::snapshot() const {
  if (state_->layer == nullptr) return std::nullopt;
  const Picture& last = state_->layer->last();
  if (last.buffer == nullptr) return std::nullopt;
  LivePicture picture;
  picture.height = last.shape.height;
  picture.width = static_cast<int>(std::lround(last.shape.height * last.shape.ratio));
  if (!convertToRgb(last.buffer.get(), picture.width, picture.height, picture.rgb)) {
    return std::nullopt;
  }
  return picture;
}

}  // namespace quorvid
