#include "view/HostGl.h"

namespace quorvid {
namespace {

void set(GLenum capability, GLboolean on) {
  if (on == GL_TRUE) {
    glEnable(capability);
  } else {
    glDisable(capability);
  }
}

}  // namespace

HostGl HostGl::ofCurrentContext() {
  HostGl host;
  host.embedded = !epoxy_is_desktop_gl();
  host.version = epoxy_gl_version();
  if (host.canComposite()) {
    host.eglImages = epoxy_has_gl_extension("GL_OES_EGL_image");
    host.srgbSwitch = !host.embedded || epoxy_has_gl_extension("GL_EXT_sRGB_write_control");
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
    srgb_ = glIsEnabled(GL_FRAMEBUFFER_SRGB);
    glDisable(GL_FRAMEBUFFER_SRGB);  // the pictures hold encoded colours already
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
  if (host_.srgbSwitch) set(GL_FRAMEBUFFER_SRGB, srgb_);
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
