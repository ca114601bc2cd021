// OffscreenTarget: a framebuffer of the current GL context to draw into and read back.
//
// Bound from its making to its end, then the default framebuffer is. For contexts of the library.
#pragma once

#include <GLES3/gl3.h>

#include <cstdint>
#include <vector>

namespace quorvid {

class OffscreenTarget {
 public:
  // In pixels.
  OffscreenTarget(int width, int height);
  ~OffscreenTarget();
  OffscreenTarget(const OffscreenTarget&) = delete;
  OffscreenTarget& operator=(const OffscreenTarget&) = delete;

  bool isComplete() const;
  // Red, green, blue of every pixel, from the top row down.
  void read(std::vector<std::uint8_t>& rgb) const;

 private:
  int width_;
  int height_;
  GLuint framebuffer_ = 0;
  GLuint renderbuffer_ = 0;
};

}  // namespace quorvid
