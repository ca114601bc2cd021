// One turn of the window: waiting for the refresh, drawing, reading back.
#include <GLES3/gl3.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "view/sdl/CurrentContext.h"
#include "view/sdl/OffscreenTarget.h"
#include "view/sdl/SdlWindow.h"

namespace quorvid {

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
    if (i == warmUp) begin = Clock::now();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    SDL_GL_SwapWindow(window_);
  }
  return std::chrono::duration<double>(Clock::now() - begin).count() / swaps;
}

bool SdlWindow::runTurn() {
  if (closed_) return false;
  const std::uint32_t refreshes = waitForRefresh();
  deliverEvents();
  if (!closed_) {
    host_->refresh(refreshes);
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
  if (!isSeen() || (drawsDue_ == 0 && !host_->needsComposite())) return;
  const CurrentContext former;
  if (!makeCurrent()) return;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  host_->composite(0, 0, pixelWidth_, pixelHeight_);
  SDL_GL_SwapWindow(window_);
  swapped_ = swapBlocks_;
  drawsDue_ = std::max(drawsDue_ - 1, 0);
}

bool SdlWindow::snapshot(WindowPicture& picture) {
  const CurrentContext former;
  if (!makeCurrent()) return false;
  OffscreenTarget target(pixelWidth_, pixelHeight_);
  if (!target.isComplete()) return false;
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  if (host_->needsComposite()) {
    drawsDue_ = std::max(drawsDue_, 1);  // what is drawn here isn't in the window
  }
  if (!host_->composite(0, 0, pixelWidth_, pixelHeight_)) return false;
  picture.width = pixelWidth_;
  picture.height = pixelHeight_;
  target.read(picture.rgb);
  return true;
}

}  // namespace quorvid
