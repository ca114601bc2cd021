// UIColor: the colours that views and layers are filled with. Plain values, any thread.
#pragma once

namespace quorvid {

// Red, green, blue, alpha in 0..1; alpha 0 fills nothing, every other alpha fills solidly.
struct CGColorRef {
  float red = 0, green = 0, blue = 0, alpha = 0;
  friend constexpr bool operator==(const CGColorRef& a, const CGColorRef& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue && a.alpha == b.alpha;
  }
};

class UIColor {
 public:
  constexpr UIColor(float red, float green, float blue, float alpha = 1) {
    color_ = CGColorRef{red, green, blue, alpha};
  }
  static constexpr UIColor whiteColor() { return {1, 1, 1}; }
  static constexpr UIColor blackColor() { return {0, 0, 0}; }
  static constexpr UIColor clearColor() { return {0, 0, 0, 0}; }
  constexpr CGColorRef CGColor() const { return color_; }

 private:
  CGColorRef color_;
};

}  // namespace quorvid
