// WaylandFrames: when the compositor wants the window's next picture, and whether anybody sees the
// window. Main thread; SDL's event pump delivers the compositor's answers.
//
//   swap() -> commit with a frame request ... frame callback: the next picture may follow
//
// A compositor answers a picture once it has been shown and the next one makes sense. Of a window
// that is minimised, covered or on another workspace it answers none, or one a second. Swapping
// nevertheless would wait for the answer, or for a buffer that the compositor holds.
#pragma once

#include <chrono>
#include <memory>

struct SDL_Window;
struct wl_callback;
struct wl_surface;

namespace quorvid {

class WaylandFrames {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Null when the window isn't a Wayland surface. Goes before the window does.
  static std::unique_ptr<WaylandFrames> of(SDL_Window* window);
  ~WaylandFrames();
  WaylandFrames(const WaylandFrames&) = delete;
  WaylandFrames& operator=(const WaylandFrames&) = delete;

  // Before a swap: asks for the answer to its picture.
  void request(Time now);
  // The answer that is awaited won't come: the surface was hidden.
  void forget();
  // Whether a picture may be swapped.
  bool isReady() const { return callback_ == nullptr; }
  // Whether the last answer took, or is taking, so long that nobody sees the window: then the next
  // one tells whether somebody does again. Once a turn, after SDL's events: a turn that comes late
  // doesn't count as an answer that does.
  bool isCovered(Time now);

 private:
  explicit WaylandFrames(wl_surface* surface) : surface_(surface) {}
  static void answered(void* self, wl_callback* callback, unsigned milliseconds);

  wl_surface* const surface_;
  wl_callback* callback_ = nullptr;  // awaited
  Time requested_, looked_;
  bool wasLate_ = false;  // the last answer
};

}  // namespace quorvid
