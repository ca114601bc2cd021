#include "view/ScaledPicture.h"

#include <algorithm>

namespace quorvid {

bool ScaledPicture::bindForDrawing(int width, int height) {
  if (glIsFramebuffer(framebuffer_) != GL_TRUE) {  // none yet, or it went with a former context
    *this = ScaledPicture();
    glGenFramebuffers(1, &framebuffer_);
    glGenRenderbuffers(1, &renderbuffer_);
  }
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &drawFramebuffer_);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer_);
  if (width > width_ || height > height_) {
    width_ = std::max(width, width_);
    height_ = std::max(height, height_);
    if (!makeStorage(width_, height_)) width_ = height_ = 0;
  }
  if (width_ > 0) return true;
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawFramebuffer_));
  return false;
}

bool ScaledPicture::makeStorage(int width, int height) const {
  GLint most = 0;
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &most);
  if (std::max(width, height) > most) return false;
  GLint bound = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
  glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(bound));
  glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                            renderbuffer_);
  return glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void ScaledPicture::bindForReading() {
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawFramebuffer_));
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
}

void ScaledPicture::release() {
  glDeleteFramebuffers(1, &framebuffer_);
  glDeleteRenderbuffers(1, &renderbuffer_);
  *this = ScaledPicture();
}

}  // namespace quorvid
