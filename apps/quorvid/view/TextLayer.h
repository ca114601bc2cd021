// TextLayer: lines of light text on a dark rectangle inside a view. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/View.h"

namespace quorvid::app {

struct TextLine {
  std::string text;          // UTF-8; one that is too long ends in "..."
  double left = 0, top = 0;  // points from the place of the first line

  friend bool operator==(const TextLine& a, const TextLine& b) {
    return a.text == b.text && a.left == b.left && a.top == b.top;
  }
};

// Finds and reads the font, which takes a while the first time. Any thread.
void loadFonts();

class TextLayer {
 public:
  // Null when the graphics can't be had, or nothing draws text. The layer adds itself to the
  // container once it is placed.
  static std::unique_ptr<TextLayer> make(std::shared_ptr<UIView> container);

  // frame: in the container's points.
  void place(CGRect frame);
  void remove() { layer_->removeFromSuperlayer(); }
  bool isPlaced() const { return layer_->superlayer() != nullptr; }
  void show(std::vector<TextLine> lines);

 private:
  TextLayer(std::shared_ptr<UIView> container, std::shared_ptr<AAPLEAGLLayer> layer)
      : container_(std::move(container)), layer_(std::move(layer)) {}
  void draw();

  std::shared_ptr<UIView> container_;
  std::shared_ptr<AAPLEAGLLayer> layer_;
  CGRect frame_;      // where the storage was made for
  double scale_ = 0;  // and in which scale
  std::vector<TextLine> lines_;
};

}  // namespace quorvid::app
