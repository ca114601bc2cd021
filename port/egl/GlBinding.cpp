#include "port/egl/GlBinding.h"

#include <dlfcn.h>
#include <epoxy/glx.h>
#include <link.h>

#include <atomic>

#include "port/egl/EAGLContextNative.h"

namespace quorvid {
namespace {

// How often a library was loaded into the process.
unsigned long long loads() {
  unsigned long long count = 0;
  const auto first = [](dl_phdr_info* info, std::size_t, void* to) {
    *static_cast<unsigned long long*>(to) = info->dlpi_adds;
    return 1;
  };
  dl_iterate_phdr(first, &count);
  return count;
}

bool isLoaded(const char* library) {
  void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

// Without GLX in the process none of its contexts is current. libepoxy takes GLX from libGL.so.1,
// and ends a process in which that can't be loaded: it is loaded here first, for good. To look for
// one that is not there takes long, the folders of libraries are searched: once after each load.
bool usesGlx() {
  static std::atomic<bool> found = false;
  static std::atomic<unsigned long long> looked = 0;
  if (found) return true;
  const unsigned long long now = loads();
  if (looked == now) return false;
  if (isLoaded("libGLX.so.0") || isLoaded("libGL.so.1")) {
    found = dlopen("libGL.so.1", RTLD_LAZY | RTLD_LOCAL) != nullptr;
  }
  looked = now;
  return found;
}

thread_local bool embedded = false;

EGLSurface surface(std::uintptr_t handle) {
  return reinterpret_cast<EGLSurface>(handle);
}

// A host is not left with another context than its own: what is refused is asked for again.
bool giveBack(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
  bool given = false;
  for (int tries = 0; !given && tries < 2; ++tries) {
    given = eglMakeCurrent(display, draw, read, context) == EGL_TRUE;
  }
  return given;
}

}  // namespace

// libepoxy ends a process in which it finds no EGL, too.
GlBinding GlBinding::current() {
  GlBinding now;
  if (epoxy_has_egl() && eglGetCurrentContext() != EGL_NO_CONTEXT) {
    now.display = eglGetCurrentDisplay();
    now.draw = reinterpret_cast<std::uintptr_t>(eglGetCurrentSurface(EGL_DRAW));
    now.read = reinterpret_cast<std::uintptr_t>(eglGetCurrentSurface(EGL_READ));
    now.context = eglGetCurrentContext();
  } else if (usesGlx() && glXGetCurrentContext() != nullptr) {
    now.display = glXGetCurrentDisplay();
    now.draw = glXGetCurrentDrawable();
    now.read = glXGetCurrentReadDrawable();
    now.context = glXGetCurrentContext();
    now.glx = true;
  }
  return now;
}

bool GlBinding::makeCurrent(EGLDisplay display, EGLContext context) {
  const GlBinding former = current();
  if (former.glx) former.unbind();
  if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE) return true;
  if (former.glx) former.bind();
  return false;
}

bool GlBinding::restore() const {
  const GlBinding now = current();
  if (now == *this) return true;
  if (now.context != nullptr && (context == nullptr || glx != now.glx)) now.unbind();
  return context == nullptr || bind();
}

bool GlBinding::bind() const {
  if (!glx) return giveBack(display, surface(draw), surface(read), context);
  return glXMakeContextCurrent(static_cast<Display*>(display), draw, read,
                               static_cast<GLXContext>(context)) != 0;
}

void GlBinding::unbind() const {
  if (glx) {
    glXMakeContextCurrent(static_cast<Display*>(display), 0, 0, nullptr);
  } else {
    giveBack(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  }
}

HostContext::HostContext() {
  if (EAGLContext::currentContext() != nullptr) return;
  const GlBinding now = GlBinding::current();
  if (now.context == nullptr && !embedded && !usesGlx()) return;
  host_ = now;
}

void HostContext::embed() {
  embedded = true;
  if (EAGLContext::currentContext() != nullptr) EAGLContext::setCurrentContext(nullptr);
}

HostContext::~HostContext() {
  if (!host_ || host_->context == GlBinding::current().context) return;
  if (GlBinding{*host_}.restore()) forgetThreadContext();
}

}  // namespace quorvid
