// Canvas: a widget that OpenGL draws. Main thread.
#pragma once

#include <functional>
#include <memory>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class Canvas {
 public:
  // Called with the context current.
  struct Calls {
    std::function<void()> begin;
    std::function<void()> end;  // the context goes
    // Draws into the framebuffer that is bound, of so many pixels. Yields why it can't, or nothing.
    std::function<std::string(int width, int height)> draw;
  };
  // The one that suits what the window is drawn with: the graphics processor, or the processor.
  static std::unique_ptr<Canvas> make(Calls calls);
  virtual ~Canvas() = default;

  virtual GtkWidget* widget() const = 0;
  // Draws in the next frame of the window.
  virtual void queueDraw() = 0;
  // What unrealizing the widget does, where that comes after its owner.
  virtual void end() = 0;
};

}  // namespace quorvid::desk
