#include "quorvid/view/Window.h"

#include <utility>

#include "view/sdl/SdlWindow.h"

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

}  // namespace quorvid
