// MemoryCanvas: where the window is drawn by the processor: OpenGL draws into a framebuffer of its
// own, which is read in the form that the window is made of. (What a GtkGLArea gives such a window
// is converted pixel by pixel, which costs as much as the rest of the main thread.) Main thread.
#pragma once

#include <epoxy/gl.h>

#include <vector>

#include "apps/desk/wall/Canvas.h"

namespace quorvid::desk {

class MemoryCanvas : public Canvas {
 public:
  explicit MemoryCanvas(Calls calls);

  GtkWidget* widget() const override { return GTK_WIDGET(picture_); }
  void queueDraw() override;
  void end() override;

 private:
  void begin();
  bool goOn(gint64 now);
  void draw();
  void resize(int width, int height);
  void read();

  const Calls calls_;
  GtkPicture* const picture_ = GTK_PICTURE(gtk_picture_new());
  ObjectPtr<GdkGLContext> context_;
  unsigned framebuffer_ = 0;
  unsigned storage_ = 0;
  int width_ = 0;  // pixels of the storage
  int height_ = 0;
  std::vector<unsigned char> rows_;  // as they are read: from the bottom up
  GLsync drawing_ = nullptr;         // under way
  bool isWanted_ = false;            // another one
  guint tick_ = 0;
  gint64 drawn_ = 0;  // when, by the frame clock
};

}  // namespace quorvid::desk
