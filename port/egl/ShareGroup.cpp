#include "port/egl/ShareGroup.h"

#include <array>

#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

struct Present {
  std::mutex mutex;  // guards the pointer, and that two threads never make a group each
  std::weak_ptr<ShareGroup> group;
};

Present& present() {
  static Present instance;
  return instance;
}

constexpr std::array<EGLint, 3> kContextAttributes = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};

// A display that needs neither a screen nor a device node: Mesa's software renderer, if nothing
// else.
EGLDisplay surfacelessDisplay() {
  const bool offered = epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_EXT_platform_base") &&
                       epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless");
  return offered
             ? eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)
             : EGL_NO_DISPLAY;
}

bool chooseConfig(EGLDisplay display, EGLConfig* config) {
  // EGL_SURFACE_TYPE 0 asks for none: the contexts are current without a surface.
  const std::array<EGLint, 5> attributes = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT,
                                            EGL_SURFACE_TYPE, 0, EGL_NONE};
  EGLint count = 0;
  return eglChooseConfig(display, attributes.data(), config, 1, &count) == EGL_TRUE && count > 0;
}

}  // namespace

std::shared_ptr<ShareGroup> ShareGroup::existing() {
  const std::lock_guard lock(present().mutex);
  return present().group.lock();
}

std::shared_ptr<ShareGroup> ShareGroup::shared() {
  const std::lock_guard lock(present().mutex);
  std::shared_ptr<ShareGroup> group = present().group.lock();
  if (group == nullptr || group->isLost()) {
    group = make();
    present().group = group;
  }
  return group;
}

std::shared_ptr<ShareGroup> ShareGroup::make() {
  if (!epoxy_has_egl()) {
    logMessage("No OpenGL ES 2 context: libEGL is not there");
    return nullptr;
  }
  std::shared_ptr<ShareGroup> group = makeOn(eglGetCurrentDisplay());
  if (group == nullptr) group = makeOn(surfacelessDisplay());
  if (group == nullptr) group = makeOn(eglGetDisplay(EGL_DEFAULT_DISPLAY));
  if (group == nullptr) {
    logMessage("No OpenGL ES 2 context: EGL error 0x%x", static_cast<unsigned>(eglGetError()));
  }
  return group;
}

// The display is initialised and never terminated: the host may be using it too.
std::shared_ptr<ShareGroup> ShareGroup::makeOn(EGLDisplay display) {
  if (display == EGL_NO_DISPLAY || eglInitialize(display, nullptr, nullptr) != EGL_TRUE ||
      !epoxy_has_egl_extension(display, "EGL_KHR_surfaceless_context")) {
    return nullptr;
  }
  const EglApiScope api;
  EGLConfig config = nullptr;
  if (!chooseConfig(display, &config)) return nullptr;
  // First, so that the context has an owner.
  std::shared_ptr<ShareGroup> group(new ShareGroup(display, config));
  group->root_ = eglCreateContext(display, config, EGL_NO_CONTEXT, kContextAttributes.data());
  if (group->root_ == EGL_NO_CONTEXT) return nullptr;
  group->findExtensions();
  return group;
}

ShareGroup::ShareGroup(EGLDisplay display, EGLConfig config) : display_(display), config_(config) {}

ShareGroup::~ShareGroup() {
  if (root_ != EGL_NO_CONTEXT) eglDestroyContext(display_, root_);
}

EGLContext ShareGroup::createContext() const {
  const EglApiScope api;
  return eglCreateContext(display_, config_, root_, kContextAttributes.data());
}

bool ShareGroup::isLost() const {
  EGLint type = 0;
  return eglQueryContext(display_, root_, EGL_CONTEXT_CLIENT_TYPE, &type) != EGL_TRUE;
}

// libepoxy chooses a function at its first call, by what the display that is current then offers,
// and ends the process when that is not enough. Fences are waited for and deleted while a host's
// context is current, or none: the root's display is there for the first call of each.
void ShareGroup::findExtensions() {
  const Scope root(*this);
  if (!root) return;
  hasImages_ = epoxy_has_egl_extension(display_, "EGL_KHR_gl_renderbuffer_image");
  hasWindowStorage_ = quorvid::hasWindowStorage(display_);
  if (!epoxy_has_egl_extension(display_, "EGL_KHR_fence_sync")) return;
  const EGLSyncKHR fence = eglCreateSyncKHR(display_, EGL_SYNC_FENCE_KHR, nullptr);
  hasFences_ =
      fence != EGL_NO_SYNC_KHR &&
      eglClientWaitSyncKHR(display_, fence, EGL_SYNC_FLUSH_COMMANDS_BIT_KHR, 0) != EGL_FALSE;
  waitsInGpu_ = hasFences_ && epoxy_has_egl_extension(display_, "EGL_KHR_wait_sync") &&
                eglWaitSyncKHR(display_, fence, 0) == EGL_TRUE;
  if (fence != EGL_NO_SYNC_KHR) eglDestroySyncKHR(display_, fence);
}

void ShareGroup::claim(std::uint32_t renderbuffer, Drawable* owner) {
  const std::lock_guard lock(ownersMutex_);
  owners_[renderbuffer] = owner;
}

void ShareGroup::disclaim(std::uint32_t renderbuffer, const Drawable* owner) {
  const std::lock_guard lock(ownersMutex_);
  const auto found = owners_.find(renderbuffer);
  if (found != owners_.end() && found->second == owner) owners_.erase(found);
}

Drawable* ShareGroup::ownerOf(std::uint32_t renderbuffer) {
  const std::lock_guard lock(ownersMutex_);
  const auto found = owners_.find(renderbuffer);
  return found == owners_.end() ? nullptr : found->second;
}

ShareGroup::Scope::Scope(ShareGroup& group)
    : lock_(group.rootMutex_),
      former_(GlBinding::current()),
      current_(GlBinding::makeCurrent(group.display_, group.root_)) {}

ShareGroup::Scope::~Scope() {
  if (current_) former_.restore();
}

}  // namespace quorvid
