#include "view/sdl/SdlVideo.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "quorvid/view/ViewHost.h"
#include "view/sdl/SdlLibrary.h"

namespace quorvid {
namespace {

constexpr const char* kOffscreenDriver = "offscreen";

enum class State : std::uint8_t {
  Down,
  InUse,   // by an open window
  LeftUp,  // by a former window, for the views on its display
};

State& state() {
  static State now = State::Down;
  return now;
}

// The views' display while the subsystem is left up.
void*& keptDisplay() {
  static void* display = nullptr;
  return display;
}

void shutDown() {
  SDL_GL_UnloadLibrary();
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

bool isOffscreen() {
  const char* driver = SDL_GetCurrentVideoDriver();
  return driver != nullptr && std::strcmp(driver, kOffscreenDriver) == 0;
}

// Signals stay with the host. EGL on X11 too, for views and window to share what they draw.
void setHints(bool headless) {
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  SDL_SetHint(SDL_HINT_VIDEO_X11_FORCE_EGL, "1");
  if (headless) {
    SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, kOffscreenDriver, SDL_HINT_OVERRIDE);
  } else {
    SDL_ResetHint(SDL_HINT_VIDEODRIVER);
  }
}

void setAttributes() {
  SDL_GL_ResetAttributes();
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_ES);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 0);
  SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
}

// SDL's last resort where it finds no display is to draw where nobody looks. Whoever wants that
// says so, here or to SDL.
bool isUnseen(bool headless) {
  return !headless && isOffscreen() && std::getenv("SDL_VIDEODRIVER") == nullptr;
}

bool startUp(bool headless, std::string& error) {
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    error = std::string("no display: ") + SDL_GetError();
    return false;
  }
  if (isUnseen(headless)) {
    error = "no display: none answers that DISPLAY or WAYLAND_DISPLAY names";
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
    return false;
  }
  setAttributes();  // they say which GL library is loaded
  if (SDL_GL_LoadLibrary(nullptr) != 0) {
    error = std::string("no OpenGL ES: ") + SDL_GetError();
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
    return false;
  }
  return true;
}

}  // namespace

std::unique_ptr<SdlVideo> SdlVideo::open(bool headless, std::string& error) {
  if (state() == State::InUse) {
    error = "another window is open already";
    return nullptr;
  }
  if (const std::string why = sdlLibrary.load(); !why.empty()) {
    error = "no SDL: " + why;
    return nullptr;
  }
  const bool useless = !ViewHost::displayInUse(keptDisplay()) || isOffscreen() != headless;
  if (state() == State::LeftUp && useless) {
    shutDown();
    state() = State::Down;
  }
  setHints(headless);
  if (state() == State::Down && !startUp(headless, error)) return nullptr;
  setAttributes();
  state() = State::InUse;
  return std::unique_ptr<SdlVideo>(new SdlVideo());
}

SdlVideo::~SdlVideo() {
  keptDisplay() = kept_;
  if (kept_ != nullptr) {
    state() = State::LeftUp;
  } else {
    shutDown();
    state() = State::Down;
  }
}

}  // namespace quorvid
