#include "apps/quorvid/view/StallMark.h"

#include <algorithm>
#include <cmath>

namespace quorvid::app {

namespace {

constexpr UIColor kFrameColor{0.85F, 0.05F, 0.05F};

void addBar(UIView& mark, CGRect frame) {
  const std::shared_ptr<UIView> bar = UIView::initWithFrame(frame);
  bar->setBackgroundColor(kFrameColor);
  mark.addSubview(bar);
}

CGFloat widthIn(CGSize size) {
  return std::max<CGFloat>(4, std::round(std::min(size.width, size.height) / 40));
}

}  // namespace

void StallMark::show() {
  if (mark_) return;
  const CGSize size = container_->bounds().size;
  mark_ = UIView::initWithFrame(CGRect{{0, 0}, size});
  const CGFloat width = widthIn(size);
  addBar(*mark_, CGRectMake(0, 0, size.width, width));
  addBar(*mark_, CGRectMake(0, size.height - width, size.width, width));
  addBar(*mark_, CGRectMake(0, 0, width, size.height));
  addBar(*mark_, CGRectMake(size.width - width, 0, width, size.height));
  container_->addSubview(mark_);
}

void StallMark::hide() {
  if (mark_) {
    mark_->removeFromSuperview();
    mark_.reset();
  }
}

void StallMark::resize() {
  if (mark_) {
    hide();
    show();
  }
}

CGFloat StallMark::width() const {
  return mark_ ? widthIn(container_->bounds().size) : 0;
}

}  // namespace quorvid::app
