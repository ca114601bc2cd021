// TextStrip: one line of light text on a dark strip, shown over a tile. Main thread.
#pragma once

#include <memory>
#include <string>

#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/View.h"

namespace quorvid::app {

class TextStrip {
 public:
  static constexpr CGFloat kHeight = 18;  // points

  // Null when the graphics can't be had. The strip adds itself to the container once it is placed.
  static std::unique_ptr<TextStrip> make(std::shared_ptr<UIView> container);

  // Along the container's lower edge, `inset` points away from it; not shown in a container that is
  // too small for text.
  void place(CGFloat inset);
  // text: UTF-8. One that is too long ends in "...".
  void show(const std::string& text);

 private:
  TextStrip(std::shared_ptr<UIView> container, std::shared_ptr<AAPLEAGLLayer> layer)
      : container_(std::move(container)), layer_(std::move(layer)) {}
  void draw();

  std::shared_ptr<UIView> container_;
  std::shared_ptr<AAPLEAGLLayer> layer_;
  CGRect frame_;      // where the storage was made for
  double scale_ = 0;  // and in which scale
  std::string text_;
};

}  // namespace quorvid::app
