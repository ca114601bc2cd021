// The EGL side of an EAGLContext.
#pragma once

#include <EGL/egl.h>

#include <memory>

#include "port/EAGLContext.h"
#include "port/egl/ShareGroup.h"
#include "port/egl/TexturePool.h"

namespace quorvid {

struct EAGLContext::Native {
  std::shared_ptr<ShareGroup> group;
  EGLContext handle = EGL_NO_CONTEXT;
  std::shared_ptr<TexturePool> textures;
};

// Lets go of the calling thread's EAGLContext, after a host's context took its place in EGL.
void forgetThreadContext();

}  // namespace quorvid
