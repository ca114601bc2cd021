#include "port/egl/Storage.h"

#include <epoxy/gl.h>

#include <array>

namespace quorvid {
namespace {

// OpenGL ES refuses a renderbuffer in this order of colours, but takes one as an image of a texture
// that has it. The image keeps the pixels when the texture goes.
EGLImageKHR makeImage(EGLDisplay display, int width, int height) {
  GLint bound = 0;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  // Without mipmaps it is complete, as an image has to be.
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_BGRA_EXT, width, height, 0, GL_BGRA_EXT, GL_UNSIGNED_BYTE,
               nullptr);
  const std::array<EGLint, 3> attributes = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_NONE};
  const auto name = static_cast<std::uintptr_t>(texture);
  EGLImageKHR image = eglCreateImageKHR(display, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
                                        reinterpret_cast<EGLClientBuffer>(name), attributes.data());
  glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
  glDeleteTextures(1, &texture);
  return image;
}

void setUpsideDown(bool on) {
  GLint framebuffer = 0;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
  if (framebuffer == 0 || !epoxy_has_gl_extension("GL_MESA_framebuffer_flip_y")) return;
  glFramebufferParameteriMESA(GL_FRAMEBUFFER, GL_FRAMEBUFFER_FLIP_Y_MESA, on ? GL_TRUE : GL_FALSE);
}

bool isOffered(EGLDisplay display) {
  return epoxy_has_egl_extension(display, "EGL_KHR_gl_texture_2D_image") &&
         epoxy_has_gl_extension("GL_OES_EGL_image") &&
         epoxy_has_gl_extension("GL_EXT_texture_format_BGRA8888") &&
         epoxy_has_gl_extension("GL_MESA_framebuffer_flip_y");
}

}  // namespace

EGLImageKHR makeWindowStorage(EGLDisplay display, int width, int height) {
  GLint framebuffer = 0;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
  if (framebuffer == 0 || width <= 0 || height <= 0) return EGL_NO_IMAGE_KHR;
  EGLImageKHR image = makeImage(display, width, height);
  if (image == EGL_NO_IMAGE_KHR) return image;
  glEGLImageTargetRenderbufferStorageOES(GL_RENDERBUFFER, image);
  setUpsideDown(true);
  return image;
}

void makePlainStorage(int width, int height) {
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8_OES, width, height);
  setUpsideDown(false);
}

bool hasWindowStorage(EGLDisplay display) {
  if (!isOffered(display)) return false;
  GLuint framebuffer = 0;
  GLuint renderbuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glGenRenderbuffers(1, &renderbuffer);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
  EGLImageKHR image = makeWindowStorage(display, 1, 1);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
  const bool complete = image != EGL_NO_IMAGE_KHR &&
                        glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glDeleteFramebuffers(1, &framebuffer);
  glDeleteRenderbuffers(1, &renderbuffer);
  if (image != EGL_NO_IMAGE_KHR) eglDestroyImageKHR(display, image);
  while (glGetError() != GL_NO_ERROR) {
  }
  return complete;
}

}  // namespace quorvid
