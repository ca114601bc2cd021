// The EGL and GL extension functions that the port uses; null where they are missing.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

namespace quorvid {

struct EglExtensions {
  PFNEGLCREATESYNCKHRPROC createSync;
  PFNEGLDESTROYSYNCKHRPROC destroySync;
  PFNEGLCLIENTWAITSYNCKHRPROC clientWaitSync;
  PFNEGLWAITSYNCKHRPROC waitSync;
  PFNEGLCREATEIMAGEKHRPROC createImage;
  PFNEGLDESTROYIMAGEKHRPROC destroyImage;
  PFNGLEGLIMAGETARGETRENDERBUFFERSTORAGEOESPROC imageTargetRenderbufferStorage;

  // Looked up once. That a function is there does not say that a display or context offers the
  // extension.
  static const EglExtensions& get();
};

}  // namespace quorvid
