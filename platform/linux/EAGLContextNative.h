// The EGL side of an EAGLContext.
#ifndef QUORVID_PLATFORM_LINUX_EAGL_CONTEXT_NATIVE_H
#define QUORVID_PLATFORM_LINUX_EAGL_CONTEXT_NATIVE_H

#include <EGL/egl.h>

#include <memory>

#include "platform/linux/ShareGroup.h"
#include "platform/linux/TexturePool.h"
#include "quorvid/platform/EAGLContext.h"

namespace quorvid {

struct EAGLContext::Native {
  std::shared_ptr<ShareGroup> group;
  EGLContext handle = EGL_NO_CONTEXT;
  std::shared_ptr<TexturePool> textures;
};

// Lets go of the calling thread's EAGLContext, after a host's context took its place in EGL.
void forgetThreadContext();

}  // namespace quorvid

#endif
