#include "quorvid/view/Layer.h"

#include <algorithm>
#include <utility>

#include "port/egl/Drawable.h"
#include "quorvid/view/EAGLLayer.h"

namespace quorvid {

CALayer::CALayer() = default;
CALayer::~CALayer() = default;

void CALayer::addSublayer(const std::shared_ptr<CALayer>& layer) {
  if (layer == nullptr) return;
  const std::shared_ptr<CALayer> self = shared_from_this();
  for (std::shared_ptr<CALayer> node = self; node != nullptr; node = node->superlayer()) {
    if (node == layer) return;
  }
  // The argument itself may lie in the list that changes now.
  const std::shared_ptr<CALayer> added = layer->shared_from_this();
  added->removeFromSuperlayer();
  sublayers_.push_back(added);
  added->superlayer_ = self;
}

void CALayer::removeFromSuperlayer() {
  const std::shared_ptr<CALayer> parent = superlayer_.lock();
  superlayer_.reset();
  if (parent == nullptr) return;
  const std::shared_ptr<CALayer> self = shared_from_this();  // the list may hold the last reference
  std::erase(parent->sublayers_, self);
}

CAEAGLLayer::CAEAGLLayer() : drawable_(std::make_unique<Drawable>()) {}

CAEAGLLayer::~CAEAGLLayer() = default;

void CAEAGLLayer::setDrawableProperties(DrawableProperties properties) {
  drawableProperties_ = std::move(properties);
}

}  // namespace quorvid
