// CurrentContext: what EGL has current on the calling thread when it is made, current again when it
// goes. Lives on the stack. With no context current, nothing is put back.
#pragma once

#include <epoxy/egl.h>

namespace quorvid {

class CurrentContext {
 public:
  CurrentContext()
      : context_(eglGetCurrentContext()),
        display_(eglGetCurrentDisplay()),
        draw_(eglGetCurrentSurface(EGL_DRAW)),
        read_(eglGetCurrentSurface(EGL_READ)) {}
  ~CurrentContext() {
    if (context_ != EGL_NO_CONTEXT && context_ != eglGetCurrentContext()) {
      eglMakeCurrent(display_, draw_, read_, context_);
    }
  }
  CurrentContext(const CurrentContext&) = delete;
  CurrentContext& operator=(const CurrentContext&) = delete;

  // It is about to go: nothing is put back.
  void forget(EGLContext context) {
    if (context_ == context) context_ = EGL_NO_CONTEXT;
  }

 private:
  EGLContext context_;
  EGLDisplay display_;
  EGLSurface draw_;
  EGLSurface read_;
};

}  // namespace quorvid
