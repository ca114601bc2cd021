#include "bench/limits/BareWindow.h"

#include <array>
#include <stdexcept>

namespace quorvid::bench {
namespace {

constexpr std::array<EGLint, 11> kConfig{EGL_SURFACE_TYPE,
                                         EGL_WINDOW_BIT,
                                         EGL_RENDERABLE_TYPE,
                                         EGL_OPENGL_ES2_BIT,
                                         EGL_RED_SIZE,
                                         8,
                                         EGL_GREEN_SIZE,
                                         8,
                                         EGL_BLUE_SIZE,
                                         8,
                                         EGL_NONE};
constexpr std::array<EGLint, 3> kContext{EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};

Window makeWindow(Display* display, int width, int height) {
  XSetWindowAttributes attributes{};
  attributes.event_mask = 0;
  const Window window =
      XCreateWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                    static_cast<unsigned>(height), 0, CopyFromParent, InputOutput, CopyFromParent,
                    CWEventMask, &attributes);
  XMapWindow(display, window);
  return window;
}

}  // namespace

BareWindow::BareWindow(int width, int height) : display_(XOpenDisplay(nullptr)) {
  if (display_ == nullptr) throw std::runtime_error("no display");
  egl_ = eglGetDisplay(display_);
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (eglInitialize(egl_, nullptr, nullptr) != EGL_TRUE ||
      eglChooseConfig(egl_, kConfig.data(), &config, 1, &count) != EGL_TRUE || count == 0) {
    throw std::runtime_error("no OpenGL ES 2");
  }
  eglBindAPI(EGL_OPENGL_ES_API);
  surface_ = eglCreateWindowSurface(egl_, config, makeWindow(display_, width, height), nullptr);
  EGLContext context = eglCreateContext(egl_, config, EGL_NO_CONTEXT, kContext.data());
  if (eglMakeCurrent(egl_, surface_, surface_, context) != EGL_TRUE) {
    throw std::runtime_error("no OpenGL ES 2 context");
  }
  eglSwapInterval(egl_, 0);
}

BareWindow::~BareWindow() {
  eglTerminate(egl_);
  XCloseDisplay(display_);
}

}  // namespace quorvid::bench
