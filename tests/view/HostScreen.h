// A host application's own GL context and framebuffer, made with EGL and without a window.
#pragma once

#include <epoxy/egl.h>

#include <string>
#include <vector>

#include "view/Picture.h"

namespace quorvid::test {

enum class HostDisplay { Surfaceless, Device };
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

 private:
  EGLDisplay display_;
  EGLContext context_;
  EGLenum api_;
  int width_, height_;
  unsigned framebuffer_ = 0;
  unsigned renderbuffer_ = 0;
};

// Sets every piece of state that composition could stumble over or disturb to an unusual value.
void makeStateUnusual();
// The current context's state as text, one value an entry; the last entry is the pending GL error.
std::vector<std::string> describeState();

}  // namespace quorvid::test
