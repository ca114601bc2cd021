// CAEAGLLayer: a layer whose content is drawn with OpenGL ES; main thread.
//
// EAGLContext::renderbufferStorage() gives it something to draw into, presentRenderbuffer() shows
// that. The storage keeps its size until it is asked for anew, and is stretched over the layer.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "quorvid/base/Export.h"
#include "quorvid/view/Layer.h"

namespace quorvid {

// Whether the content survives presenting. Here it always does.
inline constexpr const char* kEAGLDrawablePropertyRetainedBacking =
    "EAGLDrawablePropertyRetainedBacking";

class QUORVID_API CAEAGLLayer : public CALayer {
 public:
  using DrawableProperties = std::map<std::string, bool>;

  CAEAGLLayer();
  // Deletes what the layer was drawn into. The thread's current GL context stays current.
  ~CAEAGLLayer() override;

  const DrawableProperties& drawableProperties() const { return drawableProperties_; }
  void setDrawableProperties(DrawableProperties properties);

  Drawable* drawable() override { return drawable_.get(); }
  // Draws the content anew, in the layer's present size and scale. A ViewHost calls it when it
  // gives the layer another scale, a host when it has changed the frame.
  void renewContent() const {
    if (renewal_) renewal_();
  }
  // How the content is drawn anew; for who draws it.
  void setRenewal(std::function<void()> renewal) { renewal_ = std::move(renewal); }

 private:
  std::function<void()> renewal_;
  DrawableProperties drawableProperties_;
  std::unique_ptr<Drawable> drawable_;
};

}  // namespace quorvid
