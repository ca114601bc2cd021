#include "port/EAGLContext.h"

#include <epoxy/gl.h>

#include <cmath>
#include <utility>

#include "port/egl/Drawable.h"
#include "port/egl/EAGLContextNative.h"
#include "port/egl/GlBinding.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/EAGLLayer.h"

namespace quorvid {
namespace {

// The context that the thread made current last. It counts as current only while EGL agrees: a host
// may have bound its own since. Null once the thread's own objects have gone: a view that lies in
// static storage is destroyed after them.
std::shared_ptr<EAGLContext>* threadContext() {
  thread_local bool ended = false;
  struct Holder {
    std::shared_ptr<EAGLContext> context;
    bool* end = &ended;
    ~Holder() { *end = true; }
  };
  if (ended) return nullptr;
  thread_local Holder holder;
  return &holder.context;
}

// A length in points as pixels of a renderbuffer; what is not a sensible length counts as none.
GLsizei pixels(CGFloat points, CGFloat scale, GLint limit) {
  const CGFloat length = std::round(points * scale);
  return length >= 1 && length <= limit ? static_cast<GLsizei>(length) : 0;
}

std::uint32_t boundRenderbuffer() {
  GLint name = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &name);
  return static_cast<std::uint32_t>(name);
}

}  // namespace

std::shared_ptr<EAGLContext> EAGLContext::initWithAPI(EAGLRenderingAPI api) {
  if (api != EAGLRenderingAPI::OpenGLES2) return nullptr;
  // First, so that what EGL gives has an owner.
  std::shared_ptr<EAGLContext> made(new EAGLContext(std::make_unique<Native>()));
  Native& native = *made->native_;
  native.group = ShareGroup::shared();
  if (native.group == nullptr) return nullptr;
  native.handle = native.group->createContext();
  if (native.handle == EGL_NO_CONTEXT) {
    logMessage("No OpenGL ES 2 context: EGL error 0x%x", static_cast<unsigned>(eglGetError()));
    return nullptr;
  }
  return made;
}

EAGLContext::EAGLContext(std::unique_ptr<Native> native) : native_(std::move(native)) {}

// Unbinds what is bound in the context first: Mesa would keep a bound renderbuffer for ever.
EAGLContext::~EAGLContext() {
  if (native_->handle == EGL_NO_CONTEXT) return;
  GlBinding former = GlBinding::current();
  if (GlBinding::makeCurrent(native_->group->display(), native_->handle)) {
    glUseProgram(0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
  }
  if (former.context == native_->handle) former = GlBinding{};
  former.restore();
  eglDestroyContext(native_->group->display(), native_->handle);
}

bool EAGLContext::setCurrentContext(const std::shared_ptr<EAGLContext>& context) {
  if (context == nullptr) {
    GlBinding{}.restore();
    forgetThreadContext();
    return true;
  }
  const Native& native = *context->native_;
  if (!GlBinding::makeCurrent(native.group->display(), native.handle)) return false;
  std::shared_ptr<EAGLContext> former = context;
  if (std::shared_ptr<EAGLContext>* kept = threadContext(); kept != nullptr) former.swap(*kept);
  return true;
}

std::shared_ptr<EAGLContext> EAGLContext::currentContext() {
  const std::shared_ptr<EAGLContext>* kept = threadContext();
  const bool agreed =
      kept != nullptr && *kept != nullptr && eglGetCurrentContext() == (*kept)->native_->handle;
  return agreed ? *kept : nullptr;
}

bool EAGLContext::renderbufferStorage(std::uint32_t target, CAEAGLLayer* layer) {
  if (target != GL_RENDERBUFFER || currentContext().get() != this) return false;
  const std::uint32_t name = boundRenderbuffer();
  if (name == 0) return false;
  if (layer == nullptr) {
    if (Drawable* owner = native_->group->ownerOf(name); owner != nullptr) owner->lose();
    return true;
  }
  GLint limit = 0;
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &limit);
  const CGSize size = layer->bounds().size;
  const GLsizei width = pixels(size.width, layer->contentsScale(), limit);
  const GLsizei height = pixels(size.height, layer->contentsScale(), limit);
  layer->drawable()->allocate(native_->group, name, width, height);
  return true;
}

bool EAGLContext::presentRenderbuffer(std::uint32_t target) {
  if (target != GL_RENDERBUFFER || currentContext().get() != this) return false;
  Drawable* owner = native_->group->ownerOf(boundRenderbuffer());
  if (owner == nullptr) return false;
  owner->present();
  return true;
}

void setStorageRefused(CAEAGLLayer& layer, bool refused) {
  layer.drawable()->setRefused(refused);
}

bool isStorageRefused(CAEAGLLayer& layer) {
  return layer.drawable()->isRefused();
}

void forgetThreadContext() {
  std::shared_ptr<EAGLContext> former;
  if (std::shared_ptr<EAGLContext>* kept = threadContext(); kept != nullptr) former.swap(*kept);
}

}  // namespace quorvid
