// BareWindow: an X11 window and an OpenGL ES 2 context straight on it, current on the thread that
// made it. It waits for no refresh.
#pragma once

#include <EGL/egl.h>
#include <X11/Xlib.h>

namespace quorvid::bench {

class BareWindow {
 public:
  // At the upper left of the display. @throws std::runtime_error
  BareWindow(int width, int height);
  ~BareWindow();
  BareWindow(const BareWindow&) = delete;
  BareWindow& operator=(const BareWindow&) = delete;
  void show() { eglSwapBuffers(egl_, surface_); }

 private:
  Display* display_ = nullptr;
  EGLDisplay egl_ = EGL_NO_DISPLAY;
  EGLSurface surface_ = EGL_NO_SURFACE;
};

}  // namespace quorvid::bench
