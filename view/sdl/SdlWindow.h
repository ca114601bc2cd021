// SdlWindow: the platform's window on SDL2 and OpenGL ES 3, on screen or off.
#pragma once

#include <epoxy/egl.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quorvid/view/ViewHost.h"
#include "quorvid/view/Window.h"
#include "view/sdl/RefreshClock.h"
#include "view/sdl/SdlLibrary.h"
#include "view/sdl/SdlVideo.h"
#include "view/sdl/WaylandFrames.h"

namespace quorvid {

class SdlWindow final : public Window {
 public:
  explicit SdlWindow(std::unique_ptr<SdlVideo> video);
  ~SdlWindow() override;
  // False with the reason in `error`; the object is of no use then.
  bool create(const WindowOptions& options, std::string& error);

  const std::shared_ptr<UIView>& contentView() const override { return host_->contentView(); }
  double scale() const override { return scale_; }
  void setTitle(const std::string& title) override;
  void setFullScreen(bool on) override;
  bool isFullScreen() const override;
  bool isVisible() const override { return visible_; }
  void setEventHandler(std::function<void(const WindowEvent&)> handler) override;
  bool runTurn() override;
  void close() override { closed_ = true; }
  bool snapshot(WindowPicture& picture) override;

 private:
  bool makeCurrent();
  void destroyContext();
  void startClock();
  double measureSwap();
  void updateSize();
  std::uint32_t waitForRefresh();
  void showUntil(RefreshClock::Time due);
  void deliverEvents();
  void deliver(const SDL_WindowEvent& event);
  void deliver(const SDL_KeyboardEvent& event);
  void deliver(const SDL_TextInputEvent& event);
  void deliver(const SDL_MouseButtonEvent& event);
  void send(const WindowEvent& event);
  bool isSeen() const;
  void lookWhetherSeen();
  void drawAnew();
  void drawIfChanged();

  std::unique_ptr<SdlVideo> video_;
  SDL_Window* window_ = nullptr;
  SDL_GLContext context_ = nullptr;
  EGLDisplay eglDisplay_ = EGL_NO_DISPLAY;
  EGLContext eglContext_ = EGL_NO_CONTEXT;
  std::unique_ptr<ViewHost> host_ = ViewHost::create();
  std::function<void(const WindowEvent&)> handler_;
  std::optional<RefreshClock> clock_;
  std::unique_ptr<WaylandFrames> frames_;  // null but on Wayland
  bool headless_ = false;
  bool swapBlocks_ = false;   // the display sets the pace
  bool swapped_ = false;      // since the last refresh, and the swap blocked
  RefreshClock::Time drawn_;  // when it was last
  int drawsDue_ = 0;          // although nothing in the tree has changed
  bool visible_ = true;       // as the handler knows
  bool closed_ = false;
  bool keyRepeats_ = false;  // the last key-down was of a key that is held
  int pixelWidth_ = 0;
  int pixelHeight_ = 0;
  double scale_ = 1;
};

}  // namespace quorvid
