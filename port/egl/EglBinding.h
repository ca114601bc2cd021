// What EGL has current on the calling thread, to be put back later.
#pragma once

#include <EGL/egl.h>

namespace quorvid {

struct EglBinding {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLSurface draw = EGL_NO_SURFACE;
  EGLSurface read = EGL_NO_SURFACE;
  EGLContext context = EGL_NO_CONTEXT;

  static EglBinding current();
  // Binds it again unless it is bound already. With no context in it, unbinds what is bound.
  void restore() const;
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

// Whether a blank-separated list (null counts as empty) names the extension.
bool namesExtension(const char* list, const char* extension);

}  // namespace quorvid
