// The window's picture, drawn beside the window and read back.
#include <epoxy/gl.h>

#include <algorithm>

#include "view/sdl/CurrentContext.h"
#include "view/sdl/SdlWindow.h"

namespace quorvid {
namespace {

// A framebuffer of the current context, bound from its making to its end; then the default one is.
class OffscreenTarget {
 public:
  // In pixels.
  OffscreenTarget(int width, int height) : width_(width), height_(height) {
    glGenRenderbuffers(1, &renderbuffer_);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glGenFramebuffers(1, &framebuffer_);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer_);
  }
  ~OffscreenTarget() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer_);
    glDeleteRenderbuffers(1, &renderbuffer_);
  }
  OffscreenTarget(const OffscreenTarget&) = delete;
  OffscreenTarget& operator=(const OffscreenTarget&) = delete;

  bool isComplete() const {
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  }
  WindowPicture read() const;

 private:
  int width_;
  int height_;
  GLuint framebuffer_ = 0;
  GLuint renderbuffer_ = 0;
};

WindowPicture OffscreenTarget::read() const {
  const auto width = static_cast<std::size_t>(width_);
  const auto height = static_cast<std::size_t>(height_);
  std::vector<std::uint8_t> rgba(width * height * 4);
  glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
  WindowPicture picture{width_, height_, {}};
  picture.rgb.reserve(width * height * 3);
  for (std::size_t row = height; row-- > 0;) {  // OpenGL counts rows from the bottom
    for (std::size_t at = row * width * 4; at < (row + 1) * width * 4; at += 4) {
      picture.rgb.insert(picture.rgb.end(), {rgba[at], rgba[at + 1], rgba[at + 2]});
    }
  }
  return picture;
}

}  // namespace

bool SdlWindow::snapshot(WindowPicture& picture) {
  const CurrentContext former;
  if (!makeCurrent()) return false;
  const OffscreenTarget target(pixelWidth_, pixelHeight_);
  if (!target.isComplete()) return false;
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  if (host_->needsComposite()) {
    drawsDue_ = std::max(drawsDue_, 1);  // what is drawn here isn't in the window
  }
  if (!host_->composite(0, 0, pixelWidth_, pixelHeight_)) return false;
  picture = target.read();
  return true;
}

}  // namespace quorvid
