#include "quorvid/view/ViewHost.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "base/Clock.h"
#include "port/HostContext.h"
#include "port/egl/EAGLContextNative.h"
#include "port/egl/ShareGroup.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/RunLoop.h"
#include "view/Compositor.h"
#include "view/LayerTree.h"

namespace quorvid {

struct ViewHost::State {
  std::shared_ptr<ShareGroup> group;  // null unless the host chose the display
  std::shared_ptr<UIView> contentView = UIView::initWithFrame(CGRectMake(0, 0, 0, 0));
  double scale = 0;  // 0 until the host says it
  Compositor compositor;
  std::uint64_t drawnVersion = 0;
  std::string loggedReason;

  const std::thread::id thread = std::this_thread::get_id();
  // A host may lie in static storage, which the thread's loop doesn't outlive.
  const std::weak_ptr<RunLoop> loop = RunLoop::currentRunLoop();
  bool strayed = false;  // called on another thread, and the log has it
  std::uint64_t refreshesSeen = 0;
  int idleLooks = 0;  // since a refresh was seen

  bool isOwnThread();
  bool isPlaying() const;
  void watchRefreshes();
  void logAnew(const std::string& reason);
};

bool ViewHost::State::isOwnThread() {
  const bool own = std::this_thread::get_id() == thread;
  if (!own && !std::exchange(strayed, true)) {
    logMessage("ViewHost: called on another thread than the one that made it, which does nothing");
  }
  return own;
}

bool ViewHost::State::isPlaying() const {
  const std::shared_ptr<RunLoop> ticking = loop.lock();
  return ticking != nullptr && ticking->linkCount() > 0;
}

// A host that draws but forgets to refresh sees views that never show anything.
void ViewHost::State::watchRefreshes() {
  constexpr int kEnough = 120;
  const std::shared_ptr<RunLoop> ticking = loop.lock();
  if (ticking == nullptr) return;
  const bool idle =
      ticking->refreshCount() == std::exchange(refreshesSeen, ticking->refreshCount());
  idleLooks = idle && isPlaying() ? std::min(idleLooks + 1, kEnough + 1) : 0;
  if (idleLooks == kEnough) {
    logMessage("ViewHost: a view plays, but refresh() isn't called: it stands still");
  }
}

// Once, until there is another reason.
void ViewHost::State::logAnew(const std::string& reason) {
  if (reason.empty() || reason == loggedReason) return;
  loggedReason = reason;
  logMessage("The views can't be drawn: %s", reason.c_str());
}

std::unique_ptr<ViewHost> ViewHost::create() {
  return std::unique_ptr<ViewHost>(new ViewHost());
}

ViewHost::ViewHost() : state_(std::make_unique<State>()) {
  HostContext::embed();
}

ViewHost::~ViewHost() {
  state_->compositor.release();
  std::vector<std::weak_ptr<CALayer>> layers;
  try {
    layers = contentLayers(*state_->contentView->layer());
  } catch (const std::bad_alloc&) {
    logMessage("ViewHost: no memory to look for views that outlive it");
  }
  state_->contentView.reset();
  const bool outlived =
      std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return !layer.expired(); });
  if (outlived && state_->isPlaying()) {
    logMessage("ViewHost: gone before a view that plays: stop the view, or show it in another one");
  }
}

bool ViewHost::useCurrentDisplay() {
  const GlBinding host = GlBinding::current();
  if (host.context == nullptr || host.glx) return false;
  state_->group = ShareGroup::shared();
  return state_->group != nullptr && state_->group->display() == host.display;
}

bool ViewHost::displayInUse(void* eglDisplay) {
  if (EAGLContext::currentContext() != nullptr) {
    EAGLContext::setCurrentContext(nullptr);  // perhaps the last of a view that has gone
  } else {
    forgetThreadContext();
  }
  const std::shared_ptr<ShareGroup> group = ShareGroup::existing();
  return group != nullptr && group->display() == eglDisplay && !group->isLost();
}

const std::shared_ptr<UIView>& ViewHost::contentView() const {
  return state_->contentView;
}

void ViewHost::resize(double width, double height, double scale) {
  if (!state_->isOwnThread()) return;
  if (width > 0 && height > 0) state_->contentView->setFrame(CGRectMake(0, 0, width, height));
  if (!std::isfinite(scale) || !(scale > 0) || scale == state_->scale) return;
  state_->scale = scale;
  state_->drawnVersion = 0;
}

void ViewHost::setVisible(bool visible) {
  if (state_->isOwnThread()) state_->contentView->setWindowVisible(visible);
}

bool ViewHost::isVisible() const {
  return state_->contentView->isWindowVisible();
}

void ViewHost::refresh() {
  if (!state_->isOwnThread()) return;
  const HostContext host;
  RunLoop::currentRunLoop()->refreshAt(std::chrono::steady_clock::now());
}

void ViewHost::refresh(std::uint32_t refreshes) {
  if (!state_->isOwnThread()) return;
  const HostContext host;
  RunLoop::currentRunLoop()->refresh(refreshes);
}

bool ViewHost::needsComposite() const {
  if (!state_->isOwnThread()) return false;
  state_->watchRefreshes();
  return layerTreeVersion(*state_->contentView->layer()) != state_->drawnVersion;
}

bool ViewHost::composite(int x, int y, int width, int height, std::string* why) {
  std::string reason;
  if (state_->isOwnThread()) {
    state_->watchRefreshes();
    CALayer& tree = *state_->contentView->layer();
    if (state_->scale > 0) setLayerTreeScale(tree, state_->scale);
    setLayerTreeLayout(tree, state_->compositor.layout());
    const std::uint64_t version = layerTreeVersion(tree);
    const double begin = steadySeconds();
    reason = state_->compositor.draw(tree, {x, y, width, height});
    if (const auto loop = state_->loop.lock()) loop->addBusySeconds(steadySeconds() - begin);
    if (reason.empty()) state_->drawnVersion = version;
    state_->logAnew(reason);
  } else {
    reason = "called on another thread than the one that made the ViewHost";
  }
  if (why != nullptr) *why = reason;
  return reason.empty();
}

void ViewHost::release() {
  if (!state_->isOwnThread()) return;
  state_->compositor.release();
  state_->drawnVersion = 0;
}

}  // namespace quorvid
