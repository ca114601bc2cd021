// What the window makes of keys and clicks.
#include "view/sdl/SdlWindow.h"

namespace quorvid {
namespace {

constexpr int kShortcut = KMOD_CTRL | KMOD_LALT | KMOD_GUI;

}  // namespace

// Only keys that write nothing: for the others the text follows, in the user's layout.
void SdlWindow::deliver(const SDL_KeyboardEvent& event) {
  keyRepeats_ = event.repeat != 0;
  if (keyRepeats_ || (event.keysym.mod & (kShortcut | KMOD_RALT)) != 0) return;
  const SDL_Keycode code = event.keysym.sym;
  WindowEvent key{WindowEventKind::Key};
  if (code == SDLK_ESCAPE) key.key = static_cast<char>(code);
  if (code >= SDLK_F1 && code <= SDLK_F12) key.functionKey = code - SDLK_F1 + 1;
  if (key.key != 0 || key.functionKey != 0) send(key);
}

// A character a key; longer texts are an input method's. The right Alt writes on many layouts.
void SdlWindow::deliver(const SDL_TextInputEvent& event) {
  const char key = event.text[0];
  if (keyRepeats_ || (SDL_GetModState() & kShortcut) != 0) return;
  if (key < ' ' || key > '~' || event.text[1] != 0) return;
  WindowEvent typed{WindowEventKind::Key};
  typed.key = key >= 'A' && key <= 'Z' ? static_cast<char>(key - 'A' + 'a') : key;
  send(typed);
}

void SdlWindow::deliver(const SDL_MouseButtonEvent& event) {
  if (event.button != SDL_BUTTON_LEFT || event.clicks == 0) return;
  WindowEvent click{WindowEventKind::Click};
  click.x = event.x;
  click.y = event.y;
  click.clicks = (event.clicks - 1) % 2 + 1;  // SDL counts on: the third begins another pair
  send(click);
}

}  // namespace quorvid
