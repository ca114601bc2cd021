#include "view/XvfbScreen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvid::test {

XvfbScreen::XvfbScreen(int width, int height) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
  int ends[2];  // the server writes its display number, and nothing if it fails
  if (pipe(ends) != 0) return;
  server_ = fork();
  if (server_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);  // a test that dies takes its server along
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    const std::string descriptor = std::to_string(ends[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", size.c_str(),
           "-nolisten", "tcp", nullptr);
    _exit(127);
  }
  close(ends[1]);
  char digit = 0;
  pollfd end{ends[0], POLLIN, 0};
  while (poll(&end, 1, 60'000) == 1 && read(ends[0], &digit, 1) == 1 && digit != '\n') {
    name_ += digit;
  }
  close(ends[0]);
  if (!name_.empty()) name_ = ":" + name_;
}

XvfbScreen::~XvfbScreen() {
  if (server_ > 0) {
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
  }
}

Image screenshotOf(const std::string& name) {
  Image image;
  Display* display = XOpenDisplay(name.c_str());
  if (display == nullptr) return image;
  image.width = DisplayWidth(display, 0);
  image.height = DisplayHeight(display, 0);
  XImage* shot =
      XGetImage(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(image.width),
                static_cast<unsigned>(image.height), AllPlanes, ZPixmap);
  for (int i = 0; i < image.width * image.height; ++i) {
    const unsigned long pixel = XGetPixel(shot, i % image.width, i / image.width);
    for (const int shift : {16, 8, 0}) {
      image.rgba.push_back(static_cast<std::uint8_t>(pixel >> shift));
    }
    image.rgba.push_back(255);
  }
  XDestroyImage(shot);
  XCloseDisplay(display);
  return image;
}

void XvfbScreen::press(const char* key, const char* held) const {
  Display* display = XOpenDisplay(name_.c_str());
  if (display == nullptr) return;
  const auto fake = [display](const char* name, Bool down) {
    XTestFakeKeyEvent(display, XKeysymToKeycode(display, XStringToKeysym(name)), down, 0);
  };
  if (held != nullptr) fake(held, True);
  fake(key, True);
  fake(key, False);
  if (held != nullptr) fake(held, False);
  XCloseDisplay(display);
}

void XvfbScreen::doubleClick(int x, int y) const {
  Display* display = XOpenDisplay(name_.c_str());
  if (display == nullptr) return;
  XTestFakeMotionEvent(display, 0, x, y, 0);
  for (int i = 0; i < 4; ++i) XTestFakeButtonEvent(display, 1, i % 2 == 0 ? True : False, 0);
  XCloseDisplay(display);
}

}  // namespace quorvid::test
