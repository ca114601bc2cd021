// GlBinding: what EGL or GLX has current on the calling thread, to be put back later.
//
// A host may draw with either (toolkits on X11 often take GLX); the library itself uses EGL alone.
// The two share one dispatch table a thread, and neither binds while the other has a context
// current: that one is let go first.
#pragma once

#include <epoxy/egl.h>

#include "port/HostContext.h"

namespace quorvid {

struct GlBinding : BoundContext {
  static GlBinding current();
  // Makes a context of EGL current without a surface. False, with nothing changed, when it can't
  // be.
  static bool makeCurrent(EGLDisplay display, EGLContext context);
  // Binds it again unless it is bound already. With no context in it, unbinds what is bound. False
  // when the context can't be made current any more.
  bool restore() const;
  friend bool operator==(const GlBinding&, const GlBinding&) = default;

 private:
  bool bind() const;
  void unbind() const;
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
