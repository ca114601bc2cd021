#include "platform/linux/SdlWindow.h"

#include <GLES3/gl3.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "platform/linux/OffscreenTarget.h"
#include "quorvid/platform/HostContext.h"
#include "quorvid/platform/RunLoop.h"
#include "quorvid/platform/Screen.h"

namespace quorvid {

SdlWindow::SdlWindow(std::unique_ptr<SdlVideo> video)
    : video_(std::move(video)), contentView_(UIView::initWithFrame(CGRectMake(0, 0, 1, 1))) {}

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
  group_ = ShareGroup::shared();
  updateSize();
  startClock();
  return true;
}

SdlWindow::~SdlWindow() {
  if (context_ != nullptr) {
    destroyContext();
  }
  if (window_ != nullptr) {
    SDL_DestroyWindow(window_);
  }
}

void SdlWindow::destroyContext() {
  const EglBinding former = EglBinding::current();
  if (makeCurrent()) {
    compositor_.release();
  }
  contentView_.reset();  // views that nobody else holds go before their display does
  SDL_GL_MakeCurrent(nullptr, nullptr);
  if (former.context != eglContext_) {
    former.restore();
  }
  const bool sharesDisplay = group_ != nullptr && group_->display() == eglDisplay_;
  const std::weak_ptr<ShareGroup> views = std::exchange(group_, nullptr);
  if (sharesDisplay && !views.expired()) {
    video_->keep();
  }
  SDL_GL_DeleteContext(context_);
}

// SDL remembers what it made current and would not look: another context may have come since.
bool SdlWindow::makeCurrent() {
  if (eglGetCurrentContext() == eglContext_) {
    return true;
  }
  SDL_GL_MakeCurrent(window_, nullptr);
  return SDL_GL_MakeCurrent(window_, context_) == 0;
}

// A swap interval counts only if swapping takes about as long as the display's mode says.
void SdlWindow::startClock() {
  SDL_DisplayMode mode{};
  const bool known = SDL_GetCurrentDisplayMode(SDL_GetWindowDisplayIndex(window_), &mode) == 0 &&
                     mode.refresh_rate > 0;
  double period = 1.0 / (known ? mode.refresh_rate : 60);
  if (!headless_ && SDL_GL_SetSwapInterval(1) == 0) {
    const double swap = measureSwap();
    swapBlocks_ = swap > period * 0.7 && swap < period * 1.5;
  }
  if (!swapBlocks_) {
    SDL_GL_SetSwapInterval(0);
    period = 1.0 / 60;
  }
  clock_.emplace(
      std::chrono::duration_cast<RefreshClock::Duration>(std::chrono::duration<double>(period)));
}

// Seconds that a swap takes once the queue of frames is full.
double SdlWindow::measureSwap() {
  using Clock = std::chrono::steady_clock;
  constexpr int warmUp = 2;
  constexpr int swaps = 5;
  Clock::time_point begin;
  for (int i = 0; i < warmUp + swaps; ++i) {
    if (i == warmUp) {
      begin = Clock::now();
    }
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    SDL_GL_SwapWindow(window_);
  }
  return std::chrono::duration<double>(Clock::now() - begin).count() / swaps;
}

void SdlWindow::updateSize() {
  int width = 1;
  int height = 1;
  SDL_GetWindowSize(window_, &width, &height);
  SDL_GL_GetDrawableSize(window_, &pixelWidth_, &pixelHeight_);
  scale_ = width > 0 && pixelWidth_ > 0 ? static_cast<double>(pixelWidth_) / width : 1.0;
  UIScreen::mainScreen().setScale(scale_);
  contentView_->setFrame(CGRectMake(0, 0, width, height));
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

bool SdlWindow::runTurn() {
  if (closed_) {
    return false;
  }
  const HostContext host;
  const std::uint32_t refreshes = waitForRefresh();
  deliverEvents();
  if (!closed_) {
    RunLoop::currentRunLoop()->refresh(refreshes);
    drawIfChanged();
  }
  return !closed_;
}

std::uint32_t SdlWindow::waitForRefresh() {
  const bool swapped = std::exchange(swapped_, false);
  const RefreshClock::Time due = clock_->due(swapped);
  std::this_thread::sleep_until(due);
  return clock_->begin(std::chrono::steady_clock::now(), swapped);
}

bool SdlWindow::isSeen() const {
  constexpr Uint32 unseen = SDL_WINDOW_MINIMIZED | SDL_WINDOW_HIDDEN;
  return headless_ || (SDL_GetWindowFlags(window_) & unseen) == 0;
}

// More than once: drivers take a new size over with the swap after, and show a frame or two later.
void SdlWindow::drawAnew() {
  drawsDue_ = 3;
}

void SdlWindow::drawIfChanged() {
  CALayer& tree = *contentView_->layer();
  const std::uint64_t version = layerTreeVersion(tree);
  if (!isSeen() || (version == drawnVersion_ && drawsDue_ == 0) || !makeCurrent()) {
    return;
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  compositor_.draw(tree, {0, 0, pixelWidth_, pixelHeight_});
  SDL_GL_SwapWindow(window_);
  swapped_ = swapBlocks_;
  drawnVersion_ = version;
  drawsDue_ = std::max(drawsDue_ - 1, 0);
}

bool SdlWindow::snapshot(WindowPicture& picture) {
  const HostContext host;
  if (!makeCurrent()) {
    return false;
  }
  OffscreenTarget target(pixelWidth_, pixelHeight_);
  if (!target.isComplete()) {
    return false;
  }
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  if (!compositor_.draw(*contentView_->layer(), {0, 0, pixelWidth_, pixelHeight_})) {
    return false;
  }
  picture.width = pixelWidth_;
  picture.height = pixelHeight_;
  target.read(picture.rgb);
  return true;
}

}  // namespace quorvid
