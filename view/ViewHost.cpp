#include "quorvid/view/ViewHost.h"

#include "port/HostContext.h"
#include "port/egl/EAGLContextNative.h"
#include "port/egl/ShareGroup.h"
#include "quorvid/view/RunLoop.h"
#include "quorvid/view/Screen.h"
#include "view/Compositor.h"
#include "view/LayerTree.h"

namespace quorvid {

struct ViewHost::State {
  std::shared_ptr<ShareGroup> group;  // null unless the host chose the display
  std::shared_ptr<UIView> contentView = UIView::initWithFrame(CGRectMake(0, 0, 0, 0));
  Compositor compositor;
  std::uint64_t drawnVersion = 0;
};

std::unique_ptr<ViewHost> ViewHost::create() {
  return std::unique_ptr<ViewHost>(new ViewHost());
}

ViewHost::ViewHost() : state_(std::make_unique<State>()) {}

ViewHost::~ViewHost() {
  release();
}

bool ViewHost::useCurrentDisplay() {
  const GlBinding host = GlBinding::current();
  if (host.context == EGL_NO_CONTEXT) return false;
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
  UIScreen::mainScreen().setScale(scale);
  if (width > 0 && height > 0) state_->contentView->setFrame(CGRectMake(0, 0, width, height));
}

void ViewHost::refresh(std::uint32_t refreshes) {
  const HostContext host;
  RunLoop::currentRunLoop()->refresh(refreshes);
}

bool ViewHost::needsComposite() const {
  return layerTreeVersion(*state_->contentView->layer()) != state_->drawnVersion;
}

bool ViewHost::composite(int x, int y, int width, int height) {
  CALayer& tree = *state_->contentView->layer();
  const std::uint64_t version = layerTreeVersion(tree);
  if (!state_->compositor.draw(tree, {x, y, width, height})) return false;
  state_->drawnVersion = version;
  return true;
}

void ViewHost::release() {
  state_->compositor.release();
  state_->drawnVersion = 0;
}

}  // namespace quorvid
