#include "view/HostPicture.h"

#include <array>

namespace quorvid {
namespace {

// The drawable's pixels in the order of its rows, read in the root context.
std::vector<std::uint8_t> readBack(Drawable& drawable) {
  std::vector<std::uint8_t> pixels;
  const ShareGroup::Scope root(*drawable.group());
  if (!root) return pixels;
  drawable.waitUntilDrawn();
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                            drawable.renderbuffer());
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
    pixels.resize(static_cast<std::size_t>(drawable.width()) *
                  static_cast<std::size_t>(drawable.height()) * 4);
    glReadPixels(0, 0, drawable.width(), drawable.height(), GL_RGBA, GL_UNSIGNED_BYTE,
                 pixels.data());
  }
  glDeleteFramebuffers(1, &framebuffer);
  return pixels;
}

// EGL_NO_IMAGE_KHR when none can be had.
EGLImageKHR imageOf(const Drawable& drawable) {
  const ShareGroup& group = *drawable.group();
  if (!group.hasImages()) return EGL_NO_IMAGE_KHR;
  const ShareGroup::Scope root(*drawable.group());
  if (!root) return EGL_NO_IMAGE_KHR;
  const std::array<EGLint, 3> attributes = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
  const auto name = static_cast<std::uintptr_t>(drawable.renderbuffer());
  return eglCreateImageKHR(group.display(), group.root(), EGL_GL_RENDERBUFFER_KHR,
                           reinterpret_cast<EGLClientBuffer>(name), attributes.data());
}

// Lets tightly packed pixels be uploaded from memory to `texture`, and puts the host's settings
// back.
class UploadScope {
 public:
  explicit UploadScope(GLuint texture) {
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture_);
    glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &buffer_);
    glBindTexture(GL_TEXTURE_2D, texture);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    for (std::size_t i = 0; i < kNames.size(); ++i) {
      glGetIntegerv(kNames[i], &values_[i]);
      glPixelStorei(kNames[i], 0);
    }
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment_);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  }
  ~UploadScope() {
    glPixelStorei(GL_UNPACK_ALIGNMENT, alignment_);
    for (std::size_t i = 0; i < kNames.size(); ++i) {
      glPixelStorei(kNames[i], values_[i]);
    }
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(buffer_));
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(texture_));
  }
  UploadScope(const UploadScope&) = delete;
  UploadScope& operator=(const UploadScope&) = delete;

 private:
  static constexpr std::array<GLenum, 3> kNames = {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,
                                                   GL_UNPACK_SKIP_PIXELS};
  GLint texture_ = 0;
  GLint buffer_ = 0;
  GLint alignment_ = 4;
  std::array<GLint, 3> values_{};
};

}  // namespace

bool HostPicture::bindForReading(Drawable& drawable, bool eglImages) {
  if (isStale()) *this = HostPicture();
  if (framebuffer_ == 0) {
    const bool image = eglImages && eglGetCurrentDisplay() == drawable.group()->display();
    if (!(image && makeFromImage(drawable)) && !makeForUpload(drawable)) return false;
  }
  if (isCopy()) {
    if (version_ != drawable.version() && !upload(drawable)) return false;
  } else {
    drawable.waitUntilDrawn();
  }
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
  return true;
}

// The names went with a context that was replaced by another at the same address.
bool HostPicture::isStale() const {
  return framebuffer_ != 0 && glIsFramebuffer(framebuffer_) != GL_TRUE;
}

bool HostPicture::makeFromImage(const Drawable& drawable) {
  const bool isBorrowed = drawable.image() != EGL_NO_IMAGE_KHR;  // and no other can be made then
  EGLImageKHR image = isBorrowed ? drawable.image() : imageOf(drawable);
  if (image == EGL_NO_IMAGE_KHR) return false;
  GLint bound = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
  glGenRenderbuffers(1, &renderbuffer_);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
  glEGLImageTargetRenderbufferStorageOES(GL_RENDERBUFFER, image);
  glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(bound));
  if (!isBorrowed) eglDestroyImageKHR(drawable.group()->display(), image);  // the pixels stay
  return attach(GL_RENDERBUFFER, renderbuffer_);
}

bool HostPicture::makeForUpload(const Drawable& drawable) {
  glGenTextures(1, &texture_);
  {
    const UploadScope scope(texture_);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, drawable.width(), drawable.height(), 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, nullptr);
  }
  version_ = 0;
  return attach(GL_TEXTURE_2D, texture_);
}

bool HostPicture::attach(GLenum kind, GLuint name) {
  glGenFramebuffers(1, &framebuffer_);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
  if (kind == GL_RENDERBUFFER) {
    glFramebufferRenderbuffer(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, kind, name);
  } else {
    glFramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, kind, name, 0);
  }
  if (glCheckFramebufferStatus(GL_READ_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) return true;
  release();
  return false;
}

bool HostPicture::upload(Drawable& drawable) {
  const std::uint64_t version = drawable.version();
  const std::vector<std::uint8_t> pixels = readBack(drawable);
  if (pixels.empty()) return false;
  const UploadScope scope(texture_);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, drawable.width(), drawable.height(), GL_RGBA,
                  GL_UNSIGNED_BYTE, pixels.data());
  version_ = version;
  return true;
}

void HostPicture::release() {
  glDeleteFramebuffers(1, &framebuffer_);
  glDeleteRenderbuffers(1, &renderbuffer_);
  glDeleteTextures(1, &texture_);
  *this = HostPicture();
}

}  // namespace quorvid
