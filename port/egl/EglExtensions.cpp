#include "port/egl/EglExtensions.h"

namespace quorvid {
namespace {

template <typename Function>
void load(Function& function, const char* name) {
  function = reinterpret_cast<Function>(eglGetProcAddress(name));
}

EglExtensions loadAll() {
  EglExtensions all{};
  load(all.createSync, "eglCreateSyncKHR");
  load(all.destroySync, "eglDestroySyncKHR");
  load(all.clientWaitSync, "eglClientWaitSyncKHR");
  load(all.waitSync, "eglWaitSyncKHR");
  load(all.createImage, "eglCreateImageKHR");
  load(all.destroyImage, "eglDestroyImageKHR");
  load(all.imageTargetRenderbufferStorage, "glEGLImageTargetRenderbufferStorageOES");
  return all;
}

}  // namespace

const EglExtensions& EglExtensions::get() {
  static const EglExtensions all = loadAll();
  return all;
}

}  // namespace quorvid
