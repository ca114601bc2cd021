// What GL has current on the calling thread, to be put back later.
#pragma once

#include <epoxy/egl.h>

namespace quorvid {

struct GlBinding {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLSurface draw = EGL_NO_SURFACE;
  EGLSurface read = EGL_NO_SURFACE;
  EGLContext context = EGL_NO_CONTEXT;

  static GlBinding current();
  // Makes a context current without a surface. False, with nothing changed, when it can't be.
  static bool makeCurrent(EGLDisplay display, EGLContext context);
  // Binds it again unless it is bound already. With no context in it, unbinds what is bound. False
  // when the context can't be made current any more.
  bool restore() const;
};

// Selects OpenGL ES as the thread's client API, and puts the former one back when it goes.
class EglApiScope {
 public:
  EglApiScope() : former_(eglQueryAPI()) { eglBindAPI(EGL_OPENGL_ES_API); }
  ~EglApiScope() { eglBindAPI(former_); }
  EglApiScope(const EglApiScope&) = delete;
  EglApiScope& operator=(const EglApiScope&) = delete;

 private:
  EGLenum former_;
};

}  // namespace quorvid
