// One turn of the window: waiting for the refresh, what SDL reports, drawing.
#include <epoxy/gl.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "quorvid/view/RunLoop.h"
#include "view/sdl/CurrentContext.h"
#include "view/sdl/SdlWindow.h"

namespace quorvid {

// A swap interval counts only if swapping takes about as long as the display's mode says. On
// Wayland a swap with an interval waits long for a window that nobody sees. What Mesa draws in
// software is copied to the window when it is swapped, and waits for nothing.
void SdlWindow::startClock() {
  SDL_DisplayMode mode{};
  const bool known = SDL_GetCurrentDisplayMode(SDL_GetWindowDisplayIndex(window_), &mode) == 0 &&
                     mode.refresh_rate > 0;
  double period = 1.0 / (known ? mode.refresh_rate : 60);
  const auto* const renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  const bool inSoftware = renderer != nullptr && std::strstr(renderer, "llvmpipe") != nullptr;
  if (!headless_ && !inSoftware && frames_ == nullptr && SDL_GL_SetSwapInterval(1) == 0) {
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
  constexpr int kWarmUp = 2;
  constexpr int kSwaps = 5;
  Clock::time_point begin;
  for (int i = 0; i < kWarmUp + kSwaps; ++i) {
    if (i == kWarmUp) begin = Clock::now();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    SDL_GL_SwapWindow(window_);
  }
  return std::chrono::duration<double>(Clock::now() - begin).count() / kSwaps;
}

bool SdlWindow::runTurn() {
  if (closed_) return false;
  const std::uint32_t refreshes = waitForRefresh();
  deliverEvents();
  if (!closed_) lookWhetherSeen();
  if (!closed_) {
    host_->refresh(refreshes);
    drawIfChanged();
  }
  return !closed_;
}

std::uint32_t SdlWindow::waitForRefresh() {
  const bool swapped = std::exchange(swapped_, false);
  const RefreshClock::Time due = clock_->due(swapped);
  if (!swapBlocks_) showUntil(due);
  std::this_thread::sleep_until(due);
  return clock_->begin(std::chrono::steady_clock::now(), swapped);
}

// What comes between two refreshes is drawn at once, unless the last drawing is less than a period
// ago: then the refresh is near, and serves it. No refresh is told, for none has gone by.
void SdlWindow::showUntil(RefreshClock::Time due) {
  while (!closed_ && RunLoop::currentRunLoop()->sleepUntil(due)) {
    const RefreshClock::Time soonest = drawn_ + clock_->period();
    if (soonest >= due) return;
    std::this_thread::sleep_until(soonest);
    host_->refresh(0);
    if (!closed_) drawIfChanged();
  }
}

void SdlWindow::deliverEvents() {
  SDL_Event event;
  const Uint32 own = SDL_GetWindowID(window_);
  while (!closed_ && SDL_PollEvent(&event) != 0) {
    if (event.type == SDL_QUIT) {
      closed_ = true;
      send({WindowEventKind::Close});
    } else if (event.type == SDL_WINDOWEVENT && event.window.windowID == own) {
      deliver(event.window);
    } else if (event.type == SDL_KEYDOWN && event.key.windowID == own) {
      deliver(event.key);
    } else if (event.type == SDL_TEXTINPUT && event.text.windowID == own) {
      deliver(event.text);
    } else if (event.type == SDL_MOUSEBUTTONDOWN && event.button.windowID == own) {
      deliver(event.button);
    }
  }
}

void SdlWindow::deliver(const SDL_WindowEvent& event) {
  switch (event.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
    case SDL_WINDOWEVENT_DISPLAY_CHANGED:
      updateSize();
      send({WindowEventKind::Resized});
      break;
    case SDL_WINDOWEVENT_SHOWN:
      if (frames_ != nullptr) frames_->forget();
      drawAnew();
      break;
    case SDL_WINDOWEVENT_EXPOSED:
    case SDL_WINDOWEVENT_RESTORED:
      drawAnew();
      break;
    case SDL_WINDOWEVENT_CLOSE:
      closed_ = true;
      send({WindowEventKind::Close});
      break;
    default:
      break;
  }
}

void SdlWindow::send(const WindowEvent& event) {
  if (const auto handler = handler_) {  // a copy: it may set another one
    handler(event);
  }
}

bool SdlWindow::isSeen() const {
  constexpr Uint32 kUnseen = SDL_WINDOW_MINIMIZED | SDL_WINDOW_HIDDEN;
  return headless_ || (SDL_GetWindowFlags(window_) & kUnseen) == 0;
}

void SdlWindow::lookWhetherSeen() {
  const bool covered = frames_ != nullptr && frames_->isCovered(std::chrono::steady_clock::now());
  if (covered) drawsDue_ = std::max(drawsDue_, 1);  // its answer tells
  const bool visible = isSeen() && !covered;
  if (std::exchange(visible_, visible) == visible) return;
  host_->setVisible(visible);
  if (visible) drawAnew();
  send({visible ? WindowEventKind::Shown : WindowEventKind::Hidden});
}

// More than once: drivers take a new size over with the swap after, and show a frame or two later.
void SdlWindow::drawAnew() {
  drawsDue_ = 3;
}

void SdlWindow::drawIfChanged() {
  if (!isSeen() || (drawsDue_ == 0 && !host_->needsComposite())) return;
  if (frames_ != nullptr && !frames_->isReady()) return;
  const CurrentContext former;
  if (!makeCurrent()) return;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (!(contentView()->layer()->backgroundColor().alpha > 0)) {
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  host_->composite(0, 0, pixelWidth_, pixelHeight_);
  if (frames_ != nullptr) frames_->request(std::chrono::steady_clock::now());
  const auto begin = std::chrono::steady_clock::now();
  drawn_ = begin;
  SDL_GL_SwapWindow(window_);
  if (!swapBlocks_) {
    const std::chrono::duration<double> swap = std::chrono::steady_clock::now() - begin;
    RunLoop::currentRunLoop()->addBusySeconds(swap.count());
  }
  swapped_ = swapBlocks_;
  drawsDue_ = std::max(drawsDue_ - 1, 0);
}

}  // namespace quorvid
