#include "view/HostGl.h"

#include <algorithm>
#include <string_view>

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

// As the standard lets a version begin. libepoxy's own answer searches the folders of libraries for
// GLX at every call where that isn't in the process.
bool HostGl::isEmbedded() {
  constexpr std::string_view kPrefix = "OpenGL ES";
  const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
  return version != nullptr && std::string_view(version).substr(0, kPrefix.size()) == kPrefix;
}

HostGl HostGl::ofCurrentContext() {
  HostGl host;
  host.embedded = isEmbedded();
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
  maskCount_ = std::min(static_cast<std::size_t>(buffers), masks_.size());
  if (!host_.perBufferMasks) {
    glGetBooleanv(GL_COLOR_WRITEMASK, masks_[0].data());
    return;
  }
  for (GLuint i = 0; i < maskCount_; ++i) {
    glGetBooleani_v(GL_COLOR_WRITEMASK, i, masks_[i].data());
  }
}

void BorrowedGlState::restoreMasks() const {
  if (!host_.perBufferMasks) {
    const ColorMask& mask = masks_[0];
    glColorMask(mask[0], mask[1], mask[2], mask[3]);
    return;
  }
  for (GLuint i = 0; i < maskCount_; ++i) {
    const ColorMask& mask = masks_[i];
    glColorMaski(i, mask[0], mask[1], mask[2], mask[3]);
  }
}

}  // namespace quorvid
