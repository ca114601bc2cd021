#include "view/sdl/WaylandFrames.h"

#include <wayland-client.h>

#include <utility>

#include "view/sdl/SdlLibrary.h"

namespace quorvid {
namespace {

// Long enough for a busy machine, short against the one answer a second that some compositors give.
constexpr std::chrono::milliseconds kLate(500);

}  // namespace

std::unique_ptr<WaylandFrames> WaylandFrames::of(SDL_Window* window) {
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (SDL_GetWindowWMInfo(window, &info) == SDL_FALSE || info.subsystem != SDL_SYSWM_WAYLAND) {
    return nullptr;
  }
  return std::unique_ptr<WaylandFrames>(new WaylandFrames(info.info.wl.surface));
}

WaylandFrames::~WaylandFrames() {
  forget();
}

void WaylandFrames::request(Time now) {
  static const wl_callback_listener kListener{answered};
  forget();
  callback_ = wl_surface_frame(surface_);
  wl_callback_add_listener(callback_, &kListener, this);
  requested_ = now;
}

void WaylandFrames::forget() {
  if (callback_ != nullptr) wl_callback_destroy(std::exchange(callback_, nullptr));
}

bool WaylandFrames::isCovered(Time now) {
  looked_ = now;
  return wasLate_ || (callback_ != nullptr && now - requested_ > kLate);
}

void WaylandFrames::answered(void* self, wl_callback*, unsigned) {
  auto& frames = *static_cast<WaylandFrames*>(self);
  frames.wasLate_ = frames.looked_ - frames.requested_ > kLate;
  frames.forget();
}

}  // namespace quorvid
