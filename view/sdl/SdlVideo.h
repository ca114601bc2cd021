// SdlVideo: SDL's video subsystem, set up so that its windows draw with EGL.
//
// Main thread. One exists at a time, while a window is open: the window drives the thread's run
// loop, and two would drive it twice. When views live on the display that it opened as
// the window goes, the subsystem stays up behind it, so that the views work in the next window.
#pragma once

#include <memory>
#include <string>

namespace quorvid {

class SdlVideo {
 public:
  // Null when a window is open already or the driver can't be had; `error` then says why.
  static std::unique_ptr<SdlVideo> open(bool headless, std::string& error);
  ~SdlVideo();
  SdlVideo(const SdlVideo&) = delete;
  SdlVideo& operator=(const SdlVideo&) = delete;

  // Views outlive this object on that EGL display, which isn't null.
  void keep(void* display) { kept_ = display; }

 private:
  SdlVideo() = default;
  void* kept_ = nullptr;
};

}  // namespace quorvid
