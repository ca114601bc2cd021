#include "port/egl/Drawable.h"

#include <epoxy/gl.h>

#include <atomic>
#include <utility>

namespace quorvid {
namespace {

// Longer than any picture takes to draw; a driver that hangs must not hang the host too.
constexpr EGLTimeKHR kFenceTimeout = 1'000'000'000;  // nanoseconds

std::atomic<std::uint64_t> lastStorage = 0;

// A framebuffer ought to go with its context. Mesa keeps it for the share group, and with it the
// storage of what is attached: there it is found in any context of the group, and deleted.
void deleteFramebufferOf(GLuint framebuffer, GLuint renderbuffer) {
  if (glIsFramebuffer(framebuffer) != GL_TRUE) return;
  GLint type = GL_NONE;
  GLint name = 0;
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                                        GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE, &type);
  if (type == GL_RENDERBUFFER) {
    glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                                          GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &name);
  }
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  if (name != 0 && static_cast<GLuint>(name) == renderbuffer) glDeleteFramebuffers(1, &framebuffer);
}

}  // namespace

Drawable::~Drawable() {
  drop();
}

bool Drawable::wantLayout(StorageLayout layout) {
  return std::exchange(layout_, layout) != layout && storage_ != 0;
}

void Drawable::allocate(const std::shared_ptr<ShareGroup>& group, std::uint32_t renderbuffer,
                        int width, int height) {
  if (storage_ == 0) layout_ = group->layout();
  adopt(group, renderbuffer);
  if (layout_ == StorageLayout::Window && group->hasWindowStorage()) {
    image_ = makeWindowStorage(group->display(), width, height);
  }
  if (image_ == EGL_NO_IMAGE_KHR) makePlainStorage(width, height);
  width_ = width;
  height_ = height;
  storage_ = ++lastStorage;
  version_ = 0;
}

void Drawable::adopt(const std::shared_ptr<ShareGroup>& group, std::uint32_t renderbuffer) {
  dropImage();
  if (renderbuffer_ != renderbuffer || group_ != group) drop();
  if (Drawable* former = group->ownerOf(renderbuffer); former != nullptr && former != this) {
    former->lose();
  }
  group->claim(renderbuffer, this);
  group_ = group;
  renderbuffer_ = renderbuffer;
  GLint bound = 0;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
  framebuffer_ = static_cast<std::uint32_t>(bound);
}

void Drawable::lose() {
  if (group_ != nullptr) {
    dropFence();
    dropImage();
    group_->disclaim(renderbuffer_, this);
  }
  group_.reset();
  renderbuffer_ = framebuffer_ = 0;
  width_ = height_ = 0;
  storage_ = version_ = 0;
}

void Drawable::drop() {
  if (group_ == nullptr) return;
  if (const ShareGroup::Scope root(*group_); root) {
    deleteFramebufferOf(framebuffer_, renderbuffer_);
    glDeleteRenderbuffers(1, &renderbuffer_);
  }
  lose();
}

void Drawable::dropFence() {
  if (fence_ != EGL_NO_SYNC_KHR) {
    eglDestroySyncKHR(group_->display(), fence_);
    fence_ = EGL_NO_SYNC_KHR;
  }
}

void Drawable::dropImage() {
  if (image_ != EGL_NO_IMAGE_KHR) {
    eglDestroyImageKHR(group_->display(), image_);  // the renderbuffer keeps the pixels
    image_ = EGL_NO_IMAGE_KHR;
  }
}

void Drawable::present() {
  dropFence();
  if (group_->hasFences()) {
    fence_ = eglCreateSyncKHR(group_->display(), EGL_SYNC_FENCE_KHR, nullptr);
  }
  if (fence_ == EGL_NO_SYNC_KHR) {
    glFinish();
  } else {
    glFlush();  // the fence can pass only once it was handed to the GPU
  }
  ++version_;
}

void Drawable::waitUntilDrawn() {
  if (fence_ == EGL_NO_SYNC_KHR) return;
  const bool inGpu = group_->waitsInGpu() && eglGetCurrentDisplay() == group_->display() &&
                     eglWaitSyncKHR(group_->display(), fence_, 0) == EGL_TRUE;
  if (!inGpu) eglClientWaitSyncKHR(group_->display(), fence_, 0, kFenceTimeout);
  dropFence();
}

}  // namespace quorvid
