// GlCanvas: a GtkGLArea, where the window is drawn by the graphics processor as well. Main thread.
#pragma once

#include "apps/desk/wall/Canvas.h"

namespace quorvid::desk {

class GlCanvas : public Canvas {
 public:
  explicit GlCanvas(Calls calls) : calls_(std::move(calls)) {
    gtk_gl_area_set_auto_render(area_, FALSE);  // a new text needs no new picture
    on<void(GtkWidget*)>(area_, "realize", [this](auto) {
      gtk_gl_area_make_current(area_);
      hasBegun_ = gtk_gl_area_get_error(area_) == nullptr;  // the area shows it
      if (hasBegun_) calls_.begin();
    });
    on<void(GtkWidget*)>(area_, "unrealize", [this](auto) { end(); });
    on<gboolean(GtkGLArea*, GdkGLContext*)>(area_, "render", [this](auto, auto) -> gboolean {
      const int scale = gtk_widget_get_scale_factor(widget());
      const std::string why = calls_.draw(scale * gtk_widget_get_width(widget()),
                                          scale * gtk_widget_get_height(widget()));
      if (why.empty()) return TRUE;
      const ErrorPtr error(
          g_error_new_literal(GDK_GL_ERROR, GDK_GL_ERROR_NOT_AVAILABLE, why.c_str()));
      gtk_gl_area_set_error(area_, error.get());
      return TRUE;
    });
  }

  GtkWidget* widget() const override { return GTK_WIDGET(area_); }
  void queueDraw() override { gtk_gl_area_queue_render(area_); }
  void end() override {
    if (!std::exchange(hasBegun_, false)) return;
    gtk_gl_area_make_current(area_);
    calls_.end();
  }

 private:
  const Calls calls_;
  GtkGLArea* const area_ = GTK_GL_AREA(gtk_gl_area_new());
  bool hasBegun_ = false;
};

}  // namespace quorvid::desk
