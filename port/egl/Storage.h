// The pixels of a renderbuffer, laid out for the framebuffer that they are copied to.
//
// Idea: a software renderer copies memory where both sides agree in the order of rows and colours,
// and shades every pixel where they don't, which takes ten times as long. Windows have the top row
// first and blue first; framebuffers that a toolkit made have what OpenGL makes by default.
#pragma once

#include <epoxy/egl.h>

#include <cstdint>

namespace quorvid {

enum class StorageLayout : std::uint8_t {
  Plain,   // GL_RGBA8, the bottom row first
  Window,  // blue first; the top row first, by a framebuffer that draws upside down
};

// Gives the bound renderbuffer a storage in the window's layout, and sets up the bound framebuffer,
// which is to hold it, so that drawing through it is the same as ever. The context is one of the
// display's, and offers what hasWindowStorage() says. EGL_NO_IMAGE_KHR, with nothing changed, when
// it can't; otherwise an image of the storage, which is the caller's.
EGLImageKHR makeWindowStorage(EGLDisplay display, int width, int height);
// Gives it one in the plain layout.
void makePlainStorage(int width, int height);
// Whether the current context, one of the display's, can do that; tries it.
bool hasWindowStorage(EGLDisplay display);

}  // namespace quorvid
