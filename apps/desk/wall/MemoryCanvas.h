// MemoryCanvas: where the window is drawn by the processor: OpenGL draws into a framebuffer of its
// own, which is read into a picture that the window is painted with. (What a GtkGLArea gives such a
// window is converted pixel by pixel, and so is a texture made of memory: either costs as much as
// the rest of the main thread.) Main thread.
#pragma once

#include <epoxy/gl.h>

#include <vector>

#include "apps/desk/wall/Canvas.h"

namespace quorvid::desk {

class MemoryCanvas : public Canvas {
 public:
  explicit MemoryCanvas(Calls calls);

  GtkWidget* widget() const override { return GTK_WIDGET(area_); }
  void queueDraw() override;
  void end() override;

 private:
  void begin();
  bool goOn(gint64 now);
  void draw();
  void resize(int width, int height);
  void read();
  void paint(cairo_t* window, int width, int height) const;

  struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };
  using Picture = std::unique_ptr<cairo_surface_t, Destroy>;

  const Calls calls_;
  GtkDrawingArea* const area_ = GTK_DRAWING_AREA(gtk_drawing_area_new());
  ObjectPtr<GdkGLContext> context_;
  unsigned framebuffer_ = 0;
  unsigned storage_ = 0;
  int width_ = 0;  // pixels of the storage
  int height_ = 0;
  std::vector<unsigned char> rows_;  // as they are read: from the bottom up
  Picture shown_;                    // null before the first
  Picture last_;              // shown before it: the window's last frame may still refer to it
  GLsync drawing_ = nullptr;  // under way
  bool isWanted_ = false;     // another one
  guint tick_ = 0;
  gint64 drawn_ = 0;  // when, by the frame clock
};

}  // namespace quorvid::desk
