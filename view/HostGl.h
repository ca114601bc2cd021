// What a host's GL context can do, and the state that composition borrows from it.
#pragma once

#include <epoxy/gl.h>

#include <array>
#include <cstddef>

namespace quorvid {

// Facts about the context that was current when asked; none of the questions leaves a GL error.
struct HostGl {
  bool embedded = false;        // OpenGL ES, not desktop OpenGL
  int version = 0;              // 10 times major plus minor, 0 when it can't be told
  bool eglImages = false;       // GL_OES_EGL_image
  bool srgbSwitch = false;      // GL_FRAMEBUFFER_SRGB can be asked for and set
  bool perBufferMasks = false;  // colour masks differ from draw buffer to draw buffer

  static HostGl ofCurrentContext();
  // Whether the current context is one of OpenGL ES; cheap.
  static bool isEmbedded();
  bool canComposite() const { return version >= 30; }
};

// Prepares the current context for clears and blits into the bound draw framebuffer, and puts back
// everything when it goes: scissor test and box, clear colour, colour masks, rasterizer discard,
// sRGB conversion and the read framebuffer.
class BorrowedGlState {
 public:
  explicit BorrowedGlState(const HostGl& host);
  ~BorrowedGlState();
  BorrowedGlState(const BorrowedGlState&) = delete;
  BorrowedGlState& operator=(const BorrowedGlState&) = delete;

 private:
  using ColorMask = std::array<GLboolean, 4>;
  void saveMasks();
  void restoreMasks() const;

  HostGl host_;
  GLboolean scissorTest_;
  GLboolean rasterizerDiscard_;
  GLboolean srgb_ = GL_FALSE;
  std::array<GLint, 4> scissorBox_{};
  std::array<GLfloat, 4> clearColor_{};
  std::array<ColorMask, 32> masks_{};  // more draw buffers than any driver has
  std::size_t maskCount_ = 1;
  GLint readFramebuffer_ = 0;
};

}  // namespace quorvid
