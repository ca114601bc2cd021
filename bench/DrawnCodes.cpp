#include "bench/DrawnCodes.h"

#include <stdexcept>
#include <thread>

namespace quorvid::bench {
namespace {

constexpr std::uint16_t kCodes = 200;
constexpr std::chrono::microseconds kBetween{33'370};

void draw(Display* display, Window window, GC context, const ScreenArea& area,
          const sim::CodeCells& cells) {
  const int wide = area.width / static_cast<int>(sim::kGridColumns);
  const int high = area.height / static_cast<int>(sim::kGridRows);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const sim::CodePixel middle = sim::codePixel(i, area.width, area.height);
    XSetForeground(display, context, cells[i] ? 0xffffff : 0);
    XFillRectangle(display, window, context, middle.x - wide / 2, middle.y - high / 2,
                   static_cast<unsigned>(wide), static_cast<unsigned>(high));
  }
}

}  // namespace

DrawnCodes::DrawnCodes(const ScreenArea& area) : area_(area), display_(XOpenDisplay(nullptr)) {
  if (display_ == nullptr) throw std::runtime_error("no display");
}

void DrawnCodes::run() {
  Display* const display = display_.get();
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), area_.x, area_.y,
                                            static_cast<unsigned>(area_.width),
                                            static_cast<unsigned>(area_.height), 0, 0, 0);
  XMapWindow(display, window);
  const GC context = XCreateGC(display, window, 0, nullptr);
  XSync(display, False);
  auto due = std::chrono::steady_clock::now();
  for (std::uint16_t number = 0; number < kCodes; ++number) {
    due += kBetween;
    std::this_thread::sleep_until(due);
    const sim::CodeCells cells = sim::codeCells(number, number);
    Times times{std::chrono::steady_clock::now(), {}};
    draw(display, window, context, area_, cells);
    XSync(display, False);
    times.complete = std::chrono::steady_clock::now();
    times_.push_back(times);
  }
  std::this_thread::sleep_for(kBetween);
  done_ = true;
}

}  // namespace quorvid::bench
