// What the drawing tests draw and look at: pictures in memory, and pixels read back.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid::test {

struct YCbCr {
  std::uint8_t y, cb, cr;
};
using Rgb = std::array<int, 3>;

inline constexpr YCbCr grey(int y) {
  return {static_cast<std::uint8_t>(y), 128, 128};
}

// Owns one reference to a pixel buffer.
class Picture {
 public:
  // `at` gives the colour of each pixel; chroma takes that of the top left of its four.
  Picture(int width, int height, const std::function<YCbCr(int x, int y)>& at,
          const char* matrix = kCVImageBufferYCbCrMatrix_ITU_R_601_4, std::size_t bytesPerRow = 0,
          std::uint32_t format = kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange);
  ~Picture() { CVPixelBufferRelease(buffer_); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  CVPixelBufferRef get() const { return buffer_; }

 private:
  CVPixelBufferRef buffer_ = nullptr;
};

// Pixels from the top row down.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;
  Rgb at(int x, int y) const;
};

// Reads the lower left width x height pixels of the framebuffer that is bound for reading.
Image readFramebuffer(int width, int height);

// The sum of the matrix, limited to 0..255, unrounded values rounded to the nearest.
Rgb expectedRgb(YCbCr sample, const float* matrix);

// The largest difference in any channel.
int distance(const Rgb& a, const Rgb& b);

}  // namespace quorvid::test
