// What SDL reports, as events of the window.
#include "view/sdl/SdlWindow.h"

namespace quorvid {

void SdlWindow::deliverEvents() {
  SDL_Event event;
  while (!closed_ && SDL_PollEvent(&event) != 0) {
    const Uint32 own = SDL_GetWindowID(window_);
    if (event.type == SDL_QUIT) {
      closed_ = true;
      send({WindowEventKind::Close});
    } else if (event.type == SDL_WINDOWEVENT && event.window.windowID == own) {
      deliver(event.window);
    } else if (event.type == SDL_KEYDOWN && event.key.windowID == own && event.key.repeat == 0) {
      deliver(event.key);
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
    case SDL_WINDOWEVENT_EXPOSED:
    case SDL_WINDOWEVENT_SHOWN:
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

void SdlWindow::deliver(const SDL_KeyboardEvent& event) {
  const SDL_Keycode code = event.keysym.sym;
  const bool shortcut = (event.keysym.mod & (KMOD_CTRL | KMOD_ALT | KMOD_GUI)) != 0;
  const bool printable = code >= ' ' && code <= '~' && !shortcut;
  if (printable || code == SDLK_ESCAPE) send({WindowEventKind::Key, static_cast<char>(code)});
}

void SdlWindow::send(const WindowEvent& event) {
  if (const auto handler = handler_) {  // a copy: it may set another one
    handler(event);
  }
}

}  // namespace quorvid
