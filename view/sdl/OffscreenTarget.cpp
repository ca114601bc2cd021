#include "view/sdl/OffscreenTarget.h"

namespace quorvid {

OffscreenTarget::OffscreenTarget(int width, int height) : width_(width), height_(height) {
  glGenRenderbuffers(1, &renderbuffer_);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
  glGenFramebuffers(1, &framebuffer_);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer_);
}

OffscreenTarget::~OffscreenTarget() {
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glDeleteFramebuffers(1, &framebuffer_);
  glDeleteRenderbuffers(1, &renderbuffer_);
}

bool OffscreenTarget::isComplete() const {
  return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void OffscreenTarget::read(std::vector<std::uint8_t>& rgb) const {
  const auto width = static_cast<std::size_t>(width_);
  const auto height = static_cast<std::size_t>(height_);
  std::vector<std::uint8_t> rgba(width * height * 4);
  glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  rgb.resize(width * height * 3);
  std::uint8_t* out = rgb.data();
  for (std::size_t row = height; row-- > 0;) {
    const std::uint8_t* in = rgba.data() + row * width * 4;
    for (std::size_t x = 0; x < width; ++x, in += 4) {
      *out++ = in[0];
      *out++ = in[1];
      *out++ = in[2];
    }
  }
}

}  // namespace quorvid
