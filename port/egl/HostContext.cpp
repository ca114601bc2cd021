#include "port/HostContext.h"

#include "port/egl/EAGLContextNative.h"
#include "port/egl/EglBinding.h"

namespace quorvid {

HostContext::HostContext() {
  if (EAGLContext::currentContext() != nullptr) return;
  const EglBinding host = EglBinding::current();
  display_ = host.display;
  draw_ = host.draw;
  read_ = host.read;
  context_ = host.context;
}

HostContext::~HostContext() {
  if (context_ == EGL_NO_CONTEXT || context_ == eglGetCurrentContext()) return;
  if (eglMakeCurrent(display_, draw_, read_, context_) == EGL_TRUE) forgetThreadContext();
}

}  // namespace quorvid
