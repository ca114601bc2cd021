#include "apps/desk/wall/WallArea.h"

#include <epoxy/gl.h>

namespace quorvid::desk {

namespace {

constexpr unsigned kTurnMilliseconds = 250;
// A compositor that asks for no picture for so long shows none: the window is covered.
constexpr gint64 kUnansweredMicroseconds = 1500000;

}  // namespace

WallArea::WallArea(GtkGLArea* area, Calls calls) : area_(area), calls_(std::move(calls)) {
  gtk_gl_area_set_auto_render(area, FALSE);  // a new text needs no new picture
  on<void(GtkWidget*)>(area, "realize", [this](auto) { realize(); });
  on<void(GtkWidget*)>(area, "unrealize", [this](auto) { unrealize(); });
  on<void(GtkWidget*)>(area, "map", [this](auto) { turnSoon(); });
  on<void(GtkWidget*)>(area, "unmap", [this](auto) { tellVisible(); });
  // Comes while the area draws; until the turn the former picture is stretched.
  on<void(GtkGLArea*, gint, gint)>(area, "resize", [this](auto, auto, auto) { turnSoon(); });
  on<gboolean(GtkGLArea*, GdkGLContext*)>(
      area, "render", [this](auto, auto) -> gboolean { return render() ? TRUE : FALSE; });
}

WallArea::~WallArea() {
  unrealize();
}

void WallArea::realize() {
  gtk_gl_area_make_current(area_);
  if (gtk_gl_area_get_error(area_) != nullptr) return;  // the area shows it
  host_ = ViewHost::create();
  host_->useCurrentDisplay();
  watchSurface();
  timer_ = Source::every(kTurnMilliseconds, [this] { turn(); });
  turnSoon();
}

void WallArea::unrealize() {
  if (host_ == nullptr) return;
  timer_.stop();
  soon_.stop();
  if (surface_ != nullptr) g_signal_handler_disconnect(surface_, stateWatch_);
  surface_ = nullptr;
  gtk_gl_area_make_current(area_);
  calls_.end();
  host_->release();
  host_.reset();
}

void WallArea::watchSurface() {
  surface_ = gtk_native_get_surface(gtk_widget_get_native(GTK_WIDGET(area_)));
  stateWatch_ = on<void(GdkSurface*, GParamSpec*)>(surface_, "notify::state",
                                                   [this](auto, auto) { tellVisible(); });
}

void WallArea::tellVisible() {
  if (host_ == nullptr || surface_ == nullptr) return;
  int unseen = GDK_TOPLEVEL_STATE_MINIMIZED;
#if GTK_CHECK_VERSION(4, 12, 0)
  unseen |= GDK_TOPLEVEL_STATE_SUSPENDED;
#endif
  const bool shown = (gdk_toplevel_get_state(GDK_TOPLEVEL(surface_)) & unseen) == 0;
  const bool mapped = gtk_widget_get_mapped(GTK_WIDGET(area_)) != 0;
  host_->setVisible(shown && mapped && !covered_);
}

void WallArea::turnSoon() {
  if (soon_) return;
  const auto call = [](gpointer data) -> gboolean {
    auto* const self = static_cast<WallArea*>(data);
    self->turn();
    self->soon_ = Source();
    return G_SOURCE_REMOVE;
  };
  soon_ = Source(g_idle_add_full(GDK_PRIORITY_REDRAW + 10, call, this, nullptr));
}

void WallArea::turn() {
  if (host_ == nullptr || turning_) return;
  turning_ = true;
  const gint64 now = g_get_monotonic_time();
  covered_ = asked_ != 0 && now - asked_ > kUnansweredMicroseconds;
  tellVisible();
  const int width = gtk_widget_get_width(GTK_WIDGET(area_));
  const int height = gtk_widget_get_height(GTK_WIDGET(area_));
  host_->resize(width, height, gtk_widget_get_scale_factor(GTK_WIDGET(area_)));
  calls_.arrange();
  calls_.begin();
  host_->refresh();
  if (host_->needsComposite() && gtk_widget_get_mapped(GTK_WIDGET(area_)) != 0) {
    if (asked_ == 0) asked_ = now;
    gtk_gl_area_queue_render(area_);
  }
  turning_ = false;
}

bool WallArea::render() {
  asked_ = 0;
  if (covered_) turnSoon();
  if (host_ == nullptr) return false;
  ++drawn_;
  const int scale = gtk_widget_get_scale_factor(GTK_WIDGET(area_));
  const int width = scale * gtk_widget_get_width(GTK_WIDGET(area_));
  const int height = scale * gtk_widget_get_height(GTK_WIDGET(area_));
  glClearColor(0.10F, 0.115F, 0.13F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  if (!host_->composite(0, 0, width, height, &why)) {
    const ErrorPtr error(
        g_error_new_literal(GDK_GL_ERROR, GDK_GL_ERROR_NOT_AVAILABLE, why.c_str()));
    gtk_gl_area_set_error(area_, error.get());
  }
  return true;
}

}  // namespace quorvid::desk
