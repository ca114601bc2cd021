#include "quorvid/view/EAGLLayer.h"

#include <utility>

#include "port/egl/Drawable.h"

namespace quorvid {

CAEAGLLayer::CAEAGLLayer() : drawable_(std::make_unique<Drawable>()) {}

CAEAGLLayer::~CAEAGLLayer() = default;

void CAEAGLLayer::setDrawableProperties(DrawableProperties properties) {
  drawableProperties_ = std::move(properties);
}

}  // namespace quorvid
