// SDL, loaded when the first window is opened (base/LateLibrary.h): it brings fifty libraries
// along, and a program may have begun to receive by then. No library of ours names it as needed, so
// a package must: libSDL2-2.0.
#pragma once

#include <SDL.h>
#include <SDL_syswm.h>

#include "base/LateLibrary.h"

namespace quorvid {

inline constinit LateLibrary sdlLibrary("libSDL2-2.0.so.0");

QUORVID_LATE(sdlLibrary, SDL_CreateWindow);
QUORVID_LATE(sdlLibrary, SDL_DestroyWindow);
QUORVID_LATE(sdlLibrary, SDL_GL_CreateContext);
QUORVID_LATE(sdlLibrary, SDL_GL_DeleteContext);
QUORVID_LATE(sdlLibrary, SDL_GL_GetDrawableSize);
QUORVID_LATE(sdlLibrary, SDL_GL_LoadLibrary);
QUORVID_LATE(sdlLibrary, SDL_GL_MakeCurrent);
QUORVID_LATE(sdlLibrary, SDL_GL_ResetAttributes);
QUORVID_LATE(sdlLibrary, SDL_GL_SetAttribute);
QUORVID_LATE(sdlLibrary, SDL_GL_SetSwapInterval);
QUORVID_LATE(sdlLibrary, SDL_GL_SwapWindow);
QUORVID_LATE(sdlLibrary, SDL_GL_UnloadLibrary);
QUORVID_LATE(sdlLibrary, SDL_GetCurrentDisplayMode);
QUORVID_LATE(sdlLibrary, SDL_GetCurrentVideoDriver);
QUORVID_LATE(sdlLibrary, SDL_GetError);
QUORVID_LATE(sdlLibrary, SDL_GetModState);
QUORVID_LATE(sdlLibrary, SDL_GetWindowDisplayIndex);
QUORVID_LATE(sdlLibrary, SDL_GetWindowFlags);
QUORVID_LATE(sdlLibrary, SDL_GetWindowID);
QUORVID_LATE(sdlLibrary, SDL_GetWindowSize);
QUORVID_LATE(sdlLibrary, SDL_GetWindowWMInfo);
QUORVID_LATE(sdlLibrary, SDL_InitSubSystem);
QUORVID_LATE(sdlLibrary, SDL_PollEvent);
QUORVID_LATE(sdlLibrary, SDL_QuitSubSystem);
QUORVID_LATE(sdlLibrary, SDL_ResetHint);
QUORVID_LATE(sdlLibrary, SDL_SetHint);
QUORVID_LATE(sdlLibrary, SDL_SetHintWithPriority);
QUORVID_LATE(sdlLibrary, SDL_SetWindowFullscreen);
QUORVID_LATE(sdlLibrary, SDL_SetWindowTitle);
QUORVID_LATE(sdlLibrary, SDL_StartTextInput);

}  // namespace quorvid
