#include "view/sdl/SdlWindow.h"

#include <utility>

#include "quorvid/view/Screen.h"
#include "view/sdl/CurrentContext.h"

namespace quorvid {
namespace {

bool isSize(int length) {
  return length >= 1 && length <= 8192;
}

std::unique_ptr<Window> openWindow(const WindowOptions& options, std::string& error) {
  if (!isSize(options.width) || !isSize(options.height)) {
    error = "the size of a window is 1 to 8192 points each way";
    return nullptr;
  }
  std::unique_ptr<SdlVideo> video = SdlVideo::open(options.headless, error);
  if (video == nullptr) return nullptr;
  auto window = std::make_unique<SdlWindow>(std::move(video));
  return window->create(options, error) ? std::move(window) : nullptr;
}

}  // namespace

std::unique_ptr<Window> Window::open(const WindowOptions& options, std::string* error) {
  std::string reason;
  std::unique_ptr<Window> window = openWindow(options, reason);
  if (window == nullptr && error != nullptr) *error = reason;
  return window;
}

Window::~Window() = default;

void Window::run() {
  while (runTurn()) {
  }
}

SdlWindow::SdlWindow(std::unique_ptr<SdlVideo> video) : video_(std::move(video)) {}

bool SdlWindow::create(const WindowOptions& options, std::string& error) {
  headless_ = options.headless;
  const Uint32 visibility = options.headless ? SDL_WINDOW_HIDDEN : SDL_WINDOW_RESIZABLE;
  window_ = SDL_CreateWindow(options.title.c_str(), SDL_WINDOWPOS_UNDEFINED,
                             SDL_WINDOWPOS_UNDEFINED, options.width, options.height,
                             SDL_WINDOW_OPENGL | SDL_WINDOW_ALLOW_HIGHDPI | visibility);
  if (window_ == nullptr) {
    error = std::string("no window: ") + SDL_GetError();
    return false;
  }
  context_ = SDL_GL_CreateContext(window_);
  eglDisplay_ = eglGetCurrentDisplay();
  eglContext_ = eglGetCurrentContext();
  if (context_ == nullptr || eglContext_ == EGL_NO_CONTEXT) {
    error = std::string("no OpenGL ES 3 context: ") + SDL_GetError();
    return false;
  }
  host_->useCurrentDisplay();
  // Of no pixels: from then on views begin with storages in the window's layout.
  host_->composite(0, 0, 0, 0);
  // Drawn by the tree, which leaves out what is covered.
  contentView()->setBackgroundColor(UIColor::blackColor());
  frames_ = WaylandFrames::of(window_);
  SDL_StartTextInput();  // off by itself where the display offers a keyboard on screen
  updateSize();
  startClock();
  return true;
}

SdlWindow::~SdlWindow() {
  frames_.reset();
  if (context_ != nullptr) destroyContext();
  if (window_ != nullptr) SDL_DestroyWindow(window_);
}

void SdlWindow::destroyContext() {
  {
    CurrentContext former;
    former.forget(eglContext_);
    makeCurrent();
    host_.reset();  // views that nobody else holds go before their display does
    SDL_GL_MakeCurrent(nullptr, nullptr);
  }
  if (ViewHost::displayInUse(eglDisplay_)) video_->keep(eglDisplay_);
  SDL_GL_DeleteContext(context_);
}

// SDL remembers what it made current and would not look: another context may have come since.
bool SdlWindow::makeCurrent() {
  if (eglGetCurrentContext() == eglContext_) return true;
  SDL_GL_MakeCurrent(window_, nullptr);
  return SDL_GL_MakeCurrent(window_, context_) == 0;
}

void SdlWindow::updateSize() {
  int width = 1;
  int height = 1;
  SDL_GetWindowSize(window_, &width, &height);
  SDL_GL_GetDrawableSize(window_, &pixelWidth_, &pixelHeight_);
  scale_ = width > 0 && pixelWidth_ > 0 ? static_cast<double>(pixelWidth_) / width : 1.0;
  UIScreen::mainScreen().setScale(scale_);
  host_->resize(width, height, scale_);
  drawAnew();
}

void SdlWindow::setTitle(const std::string& title) {
  SDL_SetWindowTitle(window_, title.c_str());
}

void SdlWindow::setFullScreen(bool on) {
  SDL_SetWindowFullscreen(window_, on ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

bool SdlWindow::isFullScreen() const {
  return (SDL_GetWindowFlags(window_) & SDL_WINDOW_FULLSCREEN) != 0;
}

void SdlWindow::setEventHandler(std::function<void(const WindowEvent&)> handler) {
  handler_ = std::move(handler);
}

}  // namespace quorvid
