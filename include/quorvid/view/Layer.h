// CALayer: a node of the tree that is composited into a window; main thread.
//
// A layer has a frame in its superlayer's points, a background colour and sublayers drawn on top of
// it in order. A layer owns its sublayers; a sublayer knows its superlayer weakly.
#pragma once

#include <memory>
#include <vector>

#include "quorvid/base/Color.h"
#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"

namespace quorvid {

// What a GL-backed layer shows; defined by the port (see EAGLLayer.h).
class Drawable;

class QUORVID_API CALayer : public std::enable_shared_from_this<CALayer> {
 public:
  CALayer();
  virtual ~CALayer();
  CALayer(const CALayer&) = delete;
  CALayer& operator=(const CALayer&) = delete;

  CGRect frame() const { return frame_; }
  void setFrame(CGRect frame) { frame_ = frame; }
  // The same size with its origin at zero.
  CGRect bounds() const { return CGRect{{0, 0}, frame_.size}; }

  CGFloat contentsScale() const { return contentsScale_; }
  void setContentsScale(CGFloat scale) { contentsScale_ = scale; }
  bool opaque() const { return opaque_; }
  void setOpaque(bool opaque) { opaque_ = opaque; }
  CGColorRef backgroundColor() const { return backgroundColor_; }
  void setBackgroundColor(CGColorRef color) { backgroundColor_ = color; }

  // Puts a layer on top of the others, taking it from its former superlayer. Null, the layer itself
  // and its own ancestors are ignored.
  void addSublayer(const std::shared_ptr<CALayer>& layer);
  // No effect when not attached.
  void removeFromSuperlayer();
  std::shared_ptr<CALayer> superlayer() const { return superlayer_.lock(); }
  const std::vector<std::shared_ptr<CALayer>>& sublayers() const { return sublayers_; }

  // The GL content to show, null for a layer that is only its background.
  virtual Drawable* drawable() { return nullptr; }

 private:
  CGRect frame_;
  CGFloat contentsScale_ = 1;
  bool opaque_ = false;
  CGColorRef backgroundColor_;
  std::weak_ptr<CALayer> superlayer_;
  std::vector<std::shared_ptr<CALayer>> sublayers_;
};

}  // namespace quorvid
