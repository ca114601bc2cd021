// StallMark: a red frame around a tile whose picture stands still, so that it can't pass for a live
// one. Main thread.
#pragma once

#include <memory>

#include "quorvid/view/View.h"

namespace quorvid::app {

class StallMark {
 public:
  // container: the view to frame; shown on top of what it holds.
  explicit StallMark(std::shared_ptr<UIView> container) : container_(std::move(container)) {}

  void show();
  void hide();
  bool isShown() const { return mark_ != nullptr; }
  // Fits a shown mark to the container's new size.
  void resize();
  // Of the frame, in points; 0 while it isn't shown.
  CGFloat width() const;

 private:
  std::shared_ptr<UIView> container_;
  std::shared_ptr<UIView> mark_;
};

}  // namespace quorvid::app
