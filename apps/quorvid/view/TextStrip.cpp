#include "apps/quorvid/view/TextStrip.h"

#include <utility>

namespace quorvid::app {

namespace {

constexpr CGFloat kHeight = 18;
constexpr CGFloat kLeastWidth = 120, kLeastHeight = 60;  // of a container that gets a strip

}  // namespace

void TextStrip::place(CGFloat inset) {
  inset_ = inset;
  if (layer_ == nullptr) return;
  if (height() == 0) return layer_->remove();
  const CGSize size = container_->bounds().size;
  layer_->place(CGRectMake(inset, size.height - inset - kHeight, size.width - 2 * inset, kHeight));
}

CGFloat TextStrip::height() const {
  const CGSize size = container_->bounds().size;
  return size.width < kLeastWidth || size.height < kLeastHeight ? 0 : kHeight;
}

void TextStrip::show(const std::string& text) {
  if (!std::exchange(isMade_, true)) {
    layer_ = TextLayer::make(container_);
    place(inset_);
  }
  if (layer_ != nullptr) layer_->show({{text}});
}

}  // namespace quorvid::app
