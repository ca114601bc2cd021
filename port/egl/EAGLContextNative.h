// The EGL side of an EAGLContext.
#pragma once

#include <epoxy/egl.h>

#include <memory>

#include "port/EAGLContext.h"
#include "port/TextureCache.h"
#include "port/egl/ShareGroup.h"

namespace quorvid {

struct EAGLContext::Native {
  std::shared_ptr<ShareGroup> group;
  EGLContext handle = EGL_NO_CONTEXT;
  CVOpenGLESTextureCacheRef textures;  // null until it is asked for
};

// Lets go of the calling thread's EAGLContext, after a host's context took its place in EGL.
void forgetThreadContext();

}  // namespace quorvid
