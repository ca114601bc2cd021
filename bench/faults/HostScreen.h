// A host's own GL context with a framebuffer, without a window.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

enum { SCREEN_WIDTH = 160, SCREEN_HEIGHT = 120 };

// Makes it current; 0 when it can't be had.
static int openHostScreen(void) {
  const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_SURFACE_TYPE, 0, EGL_NONE};
  const EGLint version[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
  const EGLDisplay display =
      eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, NULL);
  EGLConfig config = NULL;
  EGLint count = 0;
  if (!eglInitialize(display, NULL, NULL) ||
      !eglChooseConfig(display, wanted, &config, 1, &count) || count < 1) {
    return 0;
  }
  const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
  if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) return 0;
  GLuint framebuffer = 0, colours = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glGenRenderbuffers(1, &colours);
  glBindRenderbuffer(GL_RENDERBUFFER, colours);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, SCREEN_WIDTH, SCREEN_HEIGHT);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colours);
  return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

// Whether the middle of the framebuffer shows anything but black.
static int isScreenDrawn(void) {
  enum { Width = SCREEN_WIDTH / 4, Height = SCREEN_HEIGHT / 4 };
  static unsigned char pixels[Width * Height * 4];
  glReadPixels((SCREEN_WIDTH - Width) / 2, (SCREEN_HEIGHT - Height) / 2, Width, Height, GL_RGBA,
               GL_UNSIGNED_BYTE, pixels);
  for (int i = 0; i < Width * Height * 4; ++i) {
    if (i % 4 != 3 && pixels[i] > 24) return 1;
  }
  return 0;
}
