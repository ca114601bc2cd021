#include "apps/quorvid/view/TextStrip.h"

#include <utility>

namespace quorvid::app {

namespace {

constexpr CGFloat kHeight = 18;
constexpr CGFloat kLeastWidth = 120, kLeastHeight = 60;  // of a container that gets a strip

}  // namespace

std::unique_ptr<TextStrip> TextStrip::make(const std::shared_ptr<UIView>& container) {
  std::unique_ptr<TextLayer> layer = TextLayer::make(container);
  if (layer == nullptr) return nullptr;
  return std::unique_ptr<TextStrip>(new TextStrip(container, std::move(layer)));
}

void TextStrip::place(CGFloat inset) {
  const CGSize size = container_->bounds().size;
  if (size.width < kLeastWidth || size.height < kLeastHeight) return layer_->remove();
  layer_->place(CGRectMake(inset, size.height - inset - kHeight, size.width - 2 * inset, kHeight));
}

CGFloat TextStrip::height() const {
  return layer_->isPlaced() ? kHeight : 0;
}

}  // namespace quorvid::app
