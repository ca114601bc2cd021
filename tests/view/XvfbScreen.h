// A display of its own for a test: an Xvfb server that ends with the object.
#pragma once

#include <sys/types.h>

#include <string>

#include "view/Picture.h"

namespace quorvid::test {

class XvfbScreen {
 public:
  // Takes a free display number. name() is empty when Xvfb is not installed or does not start.
  XvfbScreen(int width, int height);
  ~XvfbScreen();
  XvfbScreen(const XvfbScreen&) = delete;
  XvfbScreen& operator=(const XvfbScreen&) = delete;

  // As for DISPLAY.
  const std::string& name() const { return name_; }
  // What the whole screen shows now.
  Image screenshot() const;

 private:
  std::string name_;
  pid_t server_ = -1;
};

}  // namespace quorvid::test
