// HostPicture: the content of one drawable inside a host's GL context, ready to be blitted from.
//
// Idea: the renderbuffer of the share group appears in the host's context as an EGL image, without
// a copy. Where that can't be (another display, no extension) its pixels are read back and
// uploaded, once for every version. All calls are made with the host's context current; names are
// not deleted by the destructor, because the context may have gone.
#pragma once

#include <epoxy/gl.h>

#include <cstdint>
#include <vector>

#include "port/egl/Drawable.h"

namespace quorvid {

class HostPicture {
 public:
  // Brings the picture up to the drawable's present content and binds it for reading. False when
  // that content can't be had.
  bool bindForReading(Drawable& drawable, bool eglImages);
  // Deletes what was made in the host's context.
  void release();
  // Whether the pixels go through memory.
  bool isCopy() const { return texture_ != 0; }

 private:
  bool isStale() const;
  bool makeFromImage(const Drawable& drawable);
  bool makeForUpload(const Drawable& drawable);
  bool upload(Drawable& drawable);
  bool attach(GLenum kind, GLuint name);

  GLuint framebuffer_ = 0;
  GLuint renderbuffer_ = 0;
  GLuint texture_ = 0;
  std::uint64_t version_ = 0;  // of the pixels uploaded last
};

}  // namespace quorvid
