// TextStrip: one line of light text on a dark strip at the foot of a tile. Main thread.
#pragma once

#include <memory>
#include <string>

#include "apps/quorvid/view/TextLayer.h"

namespace quorvid::app {

class TextStrip {
 public:
  // Null when the graphics can't be had.
  static std::unique_ptr<TextStrip> make(const std::shared_ptr<UIView>& container);

  // Along the container's lower edge, `inset` points away from it; not shown in a container that is
  // too small for text.
  void place(CGFloat inset);
  // Points, 0 while it isn't shown.
  CGFloat height() const;
  // text: UTF-8. One that is too long ends in "...".
  void show(const std::string& text) { layer_->show({{text}}); }

 private:
  TextStrip(std::shared_ptr<UIView> container, std::unique_ptr<TextLayer> layer)
      : container_(std::move(container)), layer_(std::move(layer)) {}

  std::shared_ptr<UIView> container_;
  std::unique_ptr<TextLayer> layer_;
};

}  // namespace quorvid::app
