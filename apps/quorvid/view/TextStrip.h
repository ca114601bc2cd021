// TextStrip: one line of light text on a dark strip at the foot of a tile. Main thread.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "apps/quorvid/view/TextLayer.h"

namespace quorvid::app {

class TextStrip {
 public:
  explicit TextStrip(std::shared_ptr<UIView> container) : container_(std::move(container)) {}

  // Along the container's lower edge, `inset` points away from it; not shown in a container that is
  // too small for text.
  void place(CGFloat inset);
  // Points that it takes, with text or without yet; 0 in a container that is too small.
  CGFloat height() const;
  // text: UTF-8. One that is too long ends in "...". The first one makes what it is drawn with;
  // where that can't be had there is no text.
  void show(const std::string& text);

 private:
  std::shared_ptr<UIView> container_;
  CGFloat inset_ = 0;
  bool isMade_ = false;
  std::unique_ptr<TextLayer> layer_;
};

}  // namespace quorvid::app
