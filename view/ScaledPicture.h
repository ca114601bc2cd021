// ScaledPicture: storage with one sample a pixel in a host's GL context, in which a picture gets
// its size on screen on the way to a framebuffer with several samples, to which OpenGL copies
// without scaling only. All calls are made with that context current; names go with release()
// alone.
#pragma once

#include <epoxy/gl.h>

namespace quorvid {

class ScaledPicture {
 public:
  // Binds it for drawing, width x height pixels at least. False, with the former framebuffer bound,
  // when there is no storage of that size.
  bool bindForDrawing(int width, int height);
  // Binds the framebuffer that was bound before for drawing, and this one for reading.
  void bindForReading();
  void release();

 private:
  bool makeStorage(int width, int height) const;

  GLuint framebuffer_ = 0;
  GLuint renderbuffer_ = 0;
  int width_ = 0, height_ = 0;
  GLint drawFramebuffer_ = 0;  // the host's
};

}  // namespace quorvid
