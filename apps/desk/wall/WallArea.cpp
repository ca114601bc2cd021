#include "apps/desk/wall/WallArea.h"

#include <epoxy/gl.h>

#include <utility>

namespace quorvid::desk {

namespace {

constexpr unsigned kTurnMilliseconds = 250;
// A compositor that asks for no picture for so long shows none: the window is covered.
constexpr gint64 kUnansweredMicroseconds = 1500000;

}  // namespace

WallArea::WallArea(Calls calls)
    : calls_(std::move(calls)),
      canvas_(Canvas::make({[this] { begin(); }, [this] { end(); },
                            [this](int width, int height) { return draw(width, height); }})) {
  on<void(GtkWidget*)>(widget(), "map", [this](auto) { turnSoon(); });
  on<void(GtkWidget*)>(widget(), "unmap", [this](auto) { tellVisible(); });
}

WallArea::~WallArea() {
  canvas_->end();
}

void WallArea::begin() {
  host_ = ViewHost::create();
  host_->useCurrentDisplay();
  watchSurface();
  timer_ = Source::every(kTurnMilliseconds, [this] { turn(); });
  turnSoon();
}

void WallArea::end() {
  timer_.stop();
  soon_.stop();
  g_signal_handler_disconnect(surface_, stateWatch_);
  surface_ = nullptr;
  calls_.end();
  host_->release();
  host_.reset();
}

void WallArea::watchSurface() {
  surface_ = gtk_native_get_surface(gtk_widget_get_native(widget()));
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
  const bool mapped = gtk_widget_get_mapped(widget()) != 0;
  host_->setVisible(shown && mapped && !covered_);
}

void WallArea::turnSoon() {
  if (soon_) return;
  const auto call = [](gpointer data) -> gboolean {
    auto* const self = static_cast<WallArea*>(data);
    const Source done = std::move(self->soon_);  // another may be asked for in the turn
    self->turn();
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
  const int width = gtk_widget_get_width(widget());
  const int height = gtk_widget_get_height(widget());
  const double scale = gtk_widget_get_scale_factor(widget());
  // A wall of another size is drawn anew, whether a picture came or not.
  const std::pair<int, int> size(width, height);
  const bool isResized = size != std::exchange(size_, size);
  host_->resize(width, height, scale);
  calls_.arrange();
  calls_.begin();
  host_->refresh();
  if ((isResized || host_->needsComposite()) && gtk_widget_get_mapped(widget()) != 0) {
    if (asked_ == 0) asked_ = now;
    canvas_->queueDraw();
  }
  turning_ = false;
}

std::string WallArea::draw(int width, int height) {
  asked_ = 0;
  if (covered_) turnSoon();
  ++drawn_;
  glClearColor(0.10F, 0.115F, 0.13F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::string why;
  host_->composite(0, 0, width, height, &why);
  return why;
}

}  // namespace quorvid::desk
