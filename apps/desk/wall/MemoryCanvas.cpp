#include "apps/desk/wall/MemoryCanvas.h"

#include <cstring>
#include <utility>

namespace quorvid::desk {

namespace {

// Of two drawings, in microseconds: every second frame of the window. Cameras that send at their
// own times would have the whole wall drawn for each of them.
constexpr gint64 kLeastInterval = 30000;

}  // namespace

MemoryCanvas::MemoryCanvas(Calls calls) : calls_(std::move(calls)) {
  const auto paint = [](GtkDrawingArea*, cairo_t* window, int width, int height, gpointer data) {
    static_cast<const MemoryCanvas*>(data)->paint(window, width, height);
  };
  gtk_drawing_area_set_draw_func(area_, paint, this, nullptr);
  on<void(GtkWidget*)>(area_, "realize", [this](auto) { begin(); });
  on<void(GtkWidget*)>(area_, "unrealize", [this](auto) { end(); });
}

void MemoryCanvas::begin() {
  GdkSurface* const surface = gtk_native_get_surface(gtk_widget_get_native(widget()));
  GError* failed = nullptr;
  context_.reset(gdk_surface_create_gl_context(surface, &failed));
  if (context_ == nullptr || gdk_gl_context_realize(context_.get(), &failed) == 0) {
    const ErrorPtr error(failed);
    g_warning("no OpenGL for the pictures: %s", failed->message);
    context_.reset();
    return;
  }
  gdk_gl_context_make_current(context_.get());
  glGenFramebuffers(1, &framebuffer_);
  glGenRenderbuffers(1, &storage_);
  calls_.begin();
}

void MemoryCanvas::end() {
  if (tick_ != 0) gtk_widget_remove_tick_callback(widget(), std::exchange(tick_, 0));
  if (context_ == nullptr) return;
  gdk_gl_context_make_current(context_.get());
  calls_.end();
  if (drawing_ != nullptr) glDeleteSync(std::exchange(drawing_, nullptr));
  glDeleteFramebuffers(1, &framebuffer_);
  glDeleteRenderbuffers(1, &storage_);
  width_ = height_ = 0;
  shown_.reset();
  last_.reset();
  gdk_gl_context_clear_current();
  context_.reset();
}

void MemoryCanvas::queueDraw() {
  if (context_ == nullptr) return;
  isWanted_ = true;
  if (tick_ != 0) return;
  const auto tick = [](GtkWidget*, GdkFrameClock* clock, gpointer data) -> gboolean {
    auto* const self = static_cast<MemoryCanvas*>(data);
    if (self->goOn(gdk_frame_clock_get_frame_time(clock))) return G_SOURCE_CONTINUE;
    self->tick_ = 0;
    return G_SOURCE_REMOVE;
  };
  tick_ = gtk_widget_add_tick_callback(widget(), tick, this, nullptr);
}

// In one frame the wall is drawn, in a later one it is read: the main thread does not wait for what
// other threads shade. False when there is nothing left to do.
bool MemoryCanvas::goOn(gint64 now) {
  gdk_gl_context_make_current(context_.get());
  if (drawing_ != nullptr) {
    const GLenum state = glClientWaitSync(drawing_, GL_SYNC_FLUSH_COMMANDS_BIT, 0);
    if (state == GL_TIMEOUT_EXPIRED) return true;
    glDeleteSync(std::exchange(drawing_, nullptr));
    read();
    return isWanted_;
  }
  if (now - drawn_ < kLeastInterval) return true;
  drawn_ = now;
  isWanted_ = false;
  draw();
  return drawing_ != nullptr;
}

void MemoryCanvas::draw() {
  const int scale = gtk_widget_get_scale_factor(widget());
  resize(scale * gtk_widget_get_width(widget()), scale * gtk_widget_get_height(widget()));
  if (width_ < 1 || height_ < 1) return;
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  const std::string why = calls_.draw(width_, height_);
  if (!why.empty()) return g_warning("%s", why.c_str());
  drawing_ = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  glFlush();
}

void MemoryCanvas::resize(int width, int height) {
  if (width == width_ && height == height_) return;
  width_ = width;
  height_ = height;
  if (width < 1 || height < 1) return;
  glBindRenderbuffer(GL_RENDERBUFFER, storage_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, storage_);
}

// The window's pixels are blue, green, red, alpha in memory, rows from the top down.
void MemoryCanvas::read() {
  rows_.resize(static_cast<std::size_t>(width_) * height_ * 4);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, width_, height_, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, rows_.data());
  std::swap(shown_, last_);
  if (shown_ == nullptr || cairo_image_surface_get_width(shown_.get()) != width_ ||
      cairo_image_surface_get_height(shown_.get()) != height_) {
    shown_.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width_, height_));
  }
  cairo_surface_flush(shown_.get());
  unsigned char* const pixels = cairo_image_surface_get_data(shown_.get());
  if (pixels == nullptr) return shown_.reset();  // no memory: nothing is painted
  const std::size_t size = static_cast<std::size_t>(width_) * 4;
  const std::size_t stride = cairo_image_surface_get_stride(shown_.get());
  for (int row = 0; row < height_; ++row) {
    std::memcpy(pixels + row * stride, rows_.data() + (height_ - 1 - row) * size, size);
  }
  cairo_surface_mark_dirty(shown_.get());
  const double scale = gtk_widget_get_scale_factor(widget());
  cairo_surface_set_device_scale(shown_.get(), scale, scale);
  gtk_widget_queue_draw(widget());
}

// A widget of another size stretches the picture until there is one of its own.
void MemoryCanvas::paint(cairo_t* window, int width, int height) const {
  if (shown_ == nullptr) return;
  const double scale = gtk_widget_get_scale_factor(widget());
  const double shownWidth = cairo_image_surface_get_width(shown_.get()) / scale;
  const double shownHeight = cairo_image_surface_get_height(shown_.get()) / scale;
  if (shownWidth != width || shownHeight != height) {
    cairo_scale(window, width / shownWidth, height / shownHeight);
  }
  cairo_set_source_surface(window, shown_.get(), 0, 0);
  cairo_paint(window);
}

}  // namespace quorvid::desk
