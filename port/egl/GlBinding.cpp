#include "port/egl/GlBinding.h"

#include "port/HostContext.h"
#include "port/egl/EAGLContextNative.h"

namespace quorvid {

// libepoxy ends a process in which it finds no EGL, so that is asked first.
GlBinding GlBinding::current() {
  GlBinding binding;
  if (!epoxy_has_egl()) return binding;
  binding.context = eglGetCurrentContext();
  if (binding.context != EGL_NO_CONTEXT) {
    binding.display = eglGetCurrentDisplay();
    binding.draw = eglGetCurrentSurface(EGL_DRAW);
    binding.read = eglGetCurrentSurface(EGL_READ);
  }
  return binding;
}

bool GlBinding::makeCurrent(EGLDisplay display, EGLContext context) {
  return eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE;
}

bool GlBinding::restore() const {
  const GlBinding now = current();
  if (now.context == context && now.draw == draw && now.read == read) return true;
  if (context != EGL_NO_CONTEXT) return eglMakeCurrent(display, draw, read, context) == EGL_TRUE;
  return makeCurrent(now.display, EGL_NO_CONTEXT);
}

HostContext::HostContext() {
  const GlBinding now = GlBinding::current();
  if (now.context == EGL_NO_CONTEXT || EAGLContext::currentContext() != nullptr) return;
  host_ = std::make_unique<GlBinding>(now);
}

HostContext::~HostContext() {
  if (host_ == nullptr || host_->context == GlBinding::current().context) return;
  if (host_->restore()) forgetThreadContext();
}

}  // namespace quorvid
