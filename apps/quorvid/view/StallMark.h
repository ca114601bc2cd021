// StallMark: what lies over a tile whose picture stands still, so that it can't pass for a live
// one: a red frame and dark stripes. Main thread.
#pragma once

#include <memory>

#include "quorvid/view/View.h"

namespace quorvid::app {

class StallMark {
 public:
  // container: the view to cover; shown on top of what it holds.
  explicit StallMark(std::shared_ptr<UIView> container) : container_(std::move(container)) {}

  void show();
  void hide();
  bool isShown() const { return mark_ != nullptr; }
  // Fits a shown mark to the container's new size.
  void resize();

 private:
  std::shared_ptr<UIView> container_;
  std::shared_ptr<UIView> mark_;
};

}  // namespace quorvid::app
