#include "port/egl/ShareGroup.h"

#include <array>

#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

struct Present {
  std::mutex mutex;
  std::weak_ptr<ShareGroup> group;
};

Present& present() {
  static Present instance;
  return instance;
}

constexpr std::array<EGLint, 3> contextAttributes = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};

EGLDisplay surfacelessDisplay() {
  if (!namesExtension(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS),
                      "EGL_MESA_platform_surfaceless")) {
    return EGL_NO_DISPLAY;
  }
  const auto getPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
      eglGetProcAddress("eglGetPlatformDisplayEXT"));
  return getPlatformDisplay == nullptr
             ? EGL_NO_DISPLAY
             : getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
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
  std::shared_ptr<ShareGroup> group;
  if (eglGetCurrentContext() != EGL_NO_CONTEXT) group = makeOn(eglGetCurrentDisplay());
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
      !namesExtension(eglQueryString(display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context")) {
    return nullptr;
  }
  const EglApiScope api;
  EGLConfig config = nullptr;
  if (!chooseConfig(display, &config)) return nullptr;
  EGLContext root = eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes.data());
  if (root == EGL_NO_CONTEXT) return nullptr;
  return std::shared_ptr<ShareGroup>(new ShareGroup(display, config, root));
}

ShareGroup::ShareGroup(EGLDisplay display, EGLConfig config, EGLContext root)
    : display_(display), config_(config), root_(root) {}

ShareGroup::~ShareGroup() {
  eglDestroyContext(display_, root_);
}

EGLContext ShareGroup::createContext() const {
  const EglApiScope api;
  return eglCreateContext(display_, config_, root_, contextAttributes.data());
}

bool ShareGroup::isLost() const {
  EGLint type = 0;
  return eglQueryContext(display_, root_, EGL_CONTEXT_CLIENT_TYPE, &type) != EGL_TRUE;
}

bool ShareGroup::hasExtension(const char* name) const {
  return namesExtension(eglQueryString(display_, EGL_EXTENSIONS), name);
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
      former_(EglBinding::current()),
      current_(eglMakeCurrent(group.display_, EGL_NO_SURFACE, EGL_NO_SURFACE, group.root_) ==
               EGL_TRUE) {}

ShareGroup::Scope::~Scope() {
  if (current_) former_.restore();
}

}  // namespace quorvid
