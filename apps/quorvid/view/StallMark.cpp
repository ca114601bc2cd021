#include "apps/quorvid/view/StallMark.h"

#include <algorithm>
#include <cmath>

namespace quorvid::app {

namespace {

constexpr UIColor kFrameColor{0.85F, 0.05F, 0.05F};
constexpr UIColor kStripeColor{0.08F, 0.02F, 0.02F};

void addBar(UIView& mark, CGRect frame, const UIColor& color) {
  const std::shared_ptr<UIView> bar = UIView::initWithFrame(frame);
  bar->setBackgroundColor(color);
  mark.addSubview(bar);
}

void addStripes(UIView& mark, CGSize size) {
  const CGFloat step = std::max<CGFloat>(8, std::round(size.height / 24));
  const int stripes = static_cast<int>(std::ceil((size.height - step) / (2 * step)));
  for (int stripe = 0; stripe < stripes; ++stripe) {
    const CGFloat y = (2 * stripe + 1) * step;
    addBar(mark, CGRectMake(0, y, size.width, std::min(step, size.height - y)), kStripeColor);
  }
}

void addFrame(UIView& mark, CGSize size) {
  const CGFloat shorter = std::min(size.width, size.height);
  const CGFloat width = std::max<CGFloat>(4, std::round(shorter / 40));
  addBar(mark, CGRectMake(0, 0, size.width, width), kFrameColor);
  addBar(mark, CGRectMake(0, size.height - width, size.width, width), kFrameColor);
  addBar(mark, CGRectMake(0, 0, width, size.height), kFrameColor);
  addBar(mark, CGRectMake(size.width - width, 0, width, size.height), kFrameColor);
}

}  // namespace

void StallMark::show() {
  if (mark_) return;
  const CGSize size = container_->bounds().size;
  mark_ = UIView::initWithFrame(CGRect{{0, 0}, size});
  addStripes(*mark_, size);
  addFrame(*mark_, size);
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

}  // namespace quorvid::app
