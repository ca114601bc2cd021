// A host application's own GL context and framebuffer, made with EGL or GLX and without a window.
#pragma once

#include <epoxy/egl.h>

#include <memory>
#include <string>
#include <vector>

#include "view/Picture.h"
#include "view/XvfbScreen.h"

namespace quorvid::test {

enum class HostDisplay { Surfaceless, Device, Glx };
enum class HostApi { Gles3, DesktopCore };

class HostScreen {
 public:
  // Current, with a framebuffer of that size bound, once made.
  HostScreen(HostDisplay display, HostApi api, int width, int height, int samples = 0);
  ~HostScreen();
  HostScreen(const HostScreen&) = delete;
  HostScreen& operator=(const HostScreen&) = delete;

  void makeCurrent() const;
  bool isCurrent() const;
  // Ends every context on the display, as a toolkit does when it shuts down.
  void terminateDisplay() const;
  Image read() const;
  // The same of a screen with several samples a pixel.
  Image readResolved() const;

 private:
  void openEgl(HostDisplay kind, HostApi api);
  void openGlx(HostApi api);

  std::unique_ptr<XvfbScreen> xvfb_;  // null with EGL
  void* display_ = nullptr;           // EGL's, or the connection to the X server
  void* context_ = nullptr;
  unsigned long drawable_ = 0;  // GLX's
  EGLenum api_ = EGL_OPENGL_API;
  int width_, height_;
  unsigned framebuffer_ = 0;
  unsigned renderbuffer_ = 0;
};

// Sets every piece of state that composition could stumble over or disturb to an unusual value.
void makeStateUnusual();
// The current context's state as text, one value an entry; the last entry is the pending GL error.
std::vector<std::string> describeState();

}  // namespace quorvid::test
