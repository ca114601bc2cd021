#include "quorvid/view/View.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "quorvid/view/Screen.h"

namespace quorvid {

std::shared_ptr<UIView> UIView::initWithFrame(CGRect frame) {
  struct PlainView : UIView {
    explicit PlainView(CGRect rectangle) : UIView(rectangle) {}
  };
  return std::make_shared<PlainView>(frame);
}

UIView::UIView(CGRect frame) : layer_(std::make_shared<CALayer>()) {
  layer_->setFrame(frame);
}

UIView::~UIView() = default;

CGRect UIView::frame() const {
  return layer_->frame();
}

void UIView::setFrame(CGRect frame) {
  layer_->setFrame(frame);
}

CGRect UIView::bounds() const {
  return layer_->bounds();
}

void UIView::setBackgroundColor(const UIColor& color) {
  layer_->setBackgroundColor(color.CGColor());
}

void UIView::addSubview(const std::shared_ptr<UIView>& view) {
  if (view == nullptr) return;
  const std::shared_ptr<UIView> self = shared_from_this();
  for (std::shared_ptr<UIView> node = self; node != nullptr; node = node->superview()) {
    if (node == view) return;
  }
  // The argument itself may lie in the list that changes now.
  const std::shared_ptr<UIView> added = view->shared_from_this();
  added->removeFromSuperview();
  subviews_.push_back(added);
  added->superview_ = self;
  layer_->addSublayer(added->layer_);
}

void UIView::removeFromSuperview() {
  const std::shared_ptr<UIView> parent = superview_.lock();
  superview_.reset();
  if (parent == nullptr) return;
  const std::shared_ptr<UIView> self = shared_from_this();  // the list may hold the last reference
  layer_->removeFromSuperlayer();
  std::erase(parent->subviews_, self);
}

bool UIView::isWindowVisible() const {
  const std::shared_ptr<UIView> parent = superview();
  return parent != nullptr ? parent->isWindowVisible() : windowVisible_;
}

void UIView::setWindowVisible(bool visible) {
  if (std::exchange(windowVisible_, visible) != visible) tellWindowVisibility();
}

void UIView::tellWindowVisibility() {
  windowVisibilityChanged();
  const std::vector<std::shared_ptr<UIView>> views = subviews_;  // a copy: they may change it
  for (const auto& view : views) view->tellWindowVisibility();
}

UIScreen& UIScreen::mainScreen() {
  static UIScreen screen;
  return screen;
}

void UIScreen::setScale(double scale) {
  if (std::isfinite(scale) && scale > 0) scale_ = scale;
}

}  // namespace quorvid
