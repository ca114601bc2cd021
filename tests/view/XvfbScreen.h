// A display of its own for a test: an Xvfb server that ends with the object.
#pragma once

#include <sys/types.h>

#include <string>

#include "view/Picture.h"

namespace quorvid::test {

// What the whole screen of that display (as for DISPLAY) shows now.
Image screenshotOf(const std::string& display);

class XvfbScreen {
 public:
  // Takes a free display number. name() is empty when Xvfb is not installed or does not start.
  XvfbScreen(int width, int height);
  ~XvfbScreen();
  XvfbScreen(const XvfbScreen&) = delete;
  XvfbScreen& operator=(const XvfbScreen&) = delete;

  // As for DISPLAY.
  const std::string& name() const { return name_; }
  Image screenshot() const { return screenshotOf(name_); }
  // As on its keyboard, US layout: the key of that name (XStringToKeysym), with another held.
  void press(const char* key, const char* held = nullptr) const;
  void doubleClick(int x, int y) const;

 private:
  std::string name_;
  pid_t server_ = -1;
};

}  // namespace quorvid::test
