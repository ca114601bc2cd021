#include "view/HostGl.h"

#include <cstdio>
#include <cstring>

namespace quorvid {
namespace {

constexpr GLenum framebufferSrgb = 0x8DB9;  // GL_FRAMEBUFFER_SRGB, not in the OpenGL ES header

void set(GLenum capability, GLboolean on) {
  if (on == GL_TRUE) {
    glEnable(capability);
  } else {
    glDisable(capability);
  }
}

// "OpenGL ES 3.2 Mesa ..." or "4.5 (Core Profile) ..."
void readVersion(HostGl& host) {
  const auto* text = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  if (text == nullptr) return;
  constexpr const char* prefix = "OpenGL ES ";
  host.embedded = std::strncmp(text, prefix, std::strlen(prefix)) == 0;
  int major = 0;
  int minor = 0;
  const char* numbers = host.embedded ? text + std::strlen(prefix) : text;
  if (std::sscanf(numbers, "%d.%d", &major, &minor) == 2) {  // NOLINT(cert-err34-c)
    host.version = major * 10 + minor;
  }
}

bool hasGlExtension(const char* name) {
  GLint count = 0;
  glGetIntegerv(GL_NUM_EXTENSIONS, &count);
  for (GLint i = 0; i < count; ++i) {
    const auto* entry =
        reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i)));
    if (entry != nullptr && std::strcmp(entry, name) == 0) return true;
  }
  return false;
}

}  // namespace

HostGl HostGl::ofCurrentContext() {
  HostGl host;
  readVersion(host);
  if (host.canComposite()) {
    host.eglImages = hasGlExtension("GL_OES_EGL_image");
    host.srgbSwitch = !host.embedded || hasGlExtension("GL_EXT_sRGB_write_control");
    host.perBufferMasks = !host.embedded || host.version >= 32;
  }
  return host;
}

BorrowedGlState::BorrowedGlState(const HostGl& host)
    : host_(host),
      scissorTest_(glIsEnabled(GL_SCISSOR_TEST)),
      rasterizerDiscard_(glIsEnabled(GL_RASTERIZER_DISCARD)) {
  glGetIntegerv(GL_SCISSOR_BOX, scissorBox_.data());
  glGetFloatv(GL_COLOR_CLEAR_VALUE, clearColor_.data());
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &readFramebuffer_);
  saveMasks();
  if (host_.srgbSwitch) {
    srgb_ = glIsEnabled(framebufferSrgb);
    glDisable(framebufferSrgb);  // the pictures hold encoded colours already
  }
  glEnable(GL_SCISSOR_TEST);
  glDisable(GL_RASTERIZER_DISCARD);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

BorrowedGlState::~BorrowedGlState() {
  glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(readFramebuffer_));
  restoreMasks();
  glClearColor(clearColor_[0], clearColor_[1], clearColor_[2], clearColor_[3]);
  glScissor(scissorBox_[0], scissorBox_[1], scissorBox_[2], scissorBox_[3]);
  set(GL_SCISSOR_TEST, scissorTest_);
  set(GL_RASTERIZER_DISCARD, rasterizerDiscard_);
  if (host_.srgbSwitch) set(framebufferSrgb, srgb_);
}

void BorrowedGlState::saveMasks() {
  GLint buffers = 1;
  if (host_.perBufferMasks) glGetIntegerv(GL_MAX_DRAW_BUFFERS, &buffers);
  masks_.resize(static_cast<std::size_t>(buffers));
  if (!host_.perBufferMasks) {
    glGetBooleanv(GL_COLOR_WRITEMASK, masks_[0].data());
    return;
  }
  for (GLuint i = 0; i < masks_.size(); ++i) {
    glGetBooleani_v(GL_COLOR_WRITEMASK, i, masks_[i].data());
  }
}

void BorrowedGlState::restoreMasks() const {
  if (!host_.perBufferMasks) {
    const ColorMask& mask = masks_[0];
    glColorMask(mask[0], mask[1], mask[2], mask[3]);
    return;
  }
  for (GLuint i = 0; i < masks_.size(); ++i) {
    const ColorMask& mask = masks_[i];
    glColorMaski(i, mask[0], mask[1], mask[2], mask[3]);
  }
}

}  // namespace quorvid
