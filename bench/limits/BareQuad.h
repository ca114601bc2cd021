// BareQuad: a picture as one textured rectangle, with the GL calls that this takes and no others,
// in whatever context is current.
#pragma once

#include <GLES2/gl2.h>

#include "bench/limits/BareScaler.h"

namespace quorvid::bench {

// Makes a framebuffer with a renderbuffer of that size, and binds both for what is drawn next.
void bindTarget(int width, int height);

class BareQuad {
 public:
  // @throws std::runtime_error
  BareQuad();
  // Uploads the picture and draws it over the whole viewport. is601: by that matrix, not by 709's.
  void draw(const Nv12View& picture, bool is601);

 private:
  GLint matrix_ = -1;
  GLuint textures_[2] = {};
  int width_ = 0, height_ = 0;  // of the textures
};

}  // namespace quorvid::bench
