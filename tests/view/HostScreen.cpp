#include "view/HostScreen.h"

#include <epoxy/gl.h>
#include <epoxy/glx.h>

#include <cstdlib>
#include <sstream>

namespace quorvid::test {
namespace {

EGLDisplay open(HostDisplay kind) {
  if (kind == HostDisplay::Surfaceless) {
    return eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
  }
  EGLDeviceEXT devices[16] = {};
  EGLint count = 0;
  eglQueryDevicesEXT(16, devices, &count);
  // Software comes last.
  return eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[count - 1], nullptr);
}

}  // namespace

HostScreen::HostScreen(HostDisplay display, HostApi api, int width, int height, int samples)
    : width_(width), height_(height) {
  if (display == HostDisplay::Glx) {
    openGlx(api);
  } else {
    openEgl(display, api);
  }
  makeCurrent();
  glGenRenderbuffers(1, &renderbuffer_);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
  glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA8, width, height);
  glGenFramebuffers(1, &framebuffer_);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer_);
  glClearColor(0, 0.4F, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  if (context_ == EGL_NO_CONTEXT ||
      glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
    std::abort();
  }
}

void HostScreen::openEgl(HostDisplay kind, HostApi api) {
  display_ = open(kind);
  api_ = api == HostApi::Gles3 ? EGL_OPENGL_ES_API : EGL_OPENGL_API;
  eglInitialize(display_, nullptr, nullptr);
  eglBindAPI(api_);
  const EGLint gles[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
  const EGLint core[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3, EGL_NONE};
  context_ = eglCreateContext(display_, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT,
                              api == HostApi::Gles3 ? gles : core);
}

void HostScreen::openGlx(HostApi api) {
  xvfb_ = std::make_unique<XvfbScreen>(64, 64);
  Display* x = XOpenDisplay(xvfb_->name().c_str());
  if (x == nullptr) std::abort();  // Xvfb is not there (package xvfb)
  const int any[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, 0};
  int count = 0;
  GLXFBConfig* configs = glXChooseFBConfig(x, 0, any, &count);
  const int small[] = {GLX_PBUFFER_WIDTH, 8, GLX_PBUFFER_HEIGHT, 8, 0};
  drawable_ = glXCreatePbuffer(x, configs[0], small);
  const int profile =
      api == HostApi::Gles3 ? GLX_CONTEXT_ES2_PROFILE_BIT_EXT : GLX_CONTEXT_CORE_PROFILE_BIT_ARB;
  const int wanted[] = {GLX_CONTEXT_PROFILE_MASK_ARB,
                        profile,
                        GLX_CONTEXT_MAJOR_VERSION_ARB,
                        3,
                        GLX_CONTEXT_MINOR_VERSION_ARB,
                        api == HostApi::Gles3 ? 0 : 3,
                        0};
  context_ = glXCreateContextAttribsARB(x, configs[0], nullptr, 1, wanted);
  XFree(configs);
  display_ = x;
}

HostScreen::~HostScreen() {
  if (xvfb_ != nullptr) {
    auto* x = static_cast<Display*>(display_);
    if (isCurrent()) glXMakeContextCurrent(x, 0, 0, nullptr);
    glXDestroyContext(x, static_cast<GLXContext>(context_));
    glXDestroyPbuffer(x, drawable_);
    XCloseDisplay(x);
    return;
  }
  if (isCurrent()) eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  eglDestroyContext(display_, context_);
}

void HostScreen::makeCurrent() const {
  if (xvfb_ != nullptr) {
    glXMakeContextCurrent(static_cast<Display*>(display_), drawable_, drawable_,
                          static_cast<GLXContext>(context_));
  } else {
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_);
  }
}

bool HostScreen::isCurrent() const {
  if (xvfb_ != nullptr) return glXGetCurrentContext() == context_;
  return eglGetCurrentContext() == context_ && eglQueryAPI() == api_;
}

void HostScreen::terminateDisplay() const {
  eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  eglTerminate(display_);
}

Image HostScreen::read() const {
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
  return readFramebuffer(width_, height_);
}

Image HostScreen::readResolved() const {
  GLuint names[2] = {};
  glGenRenderbuffers(1, &names[0]);
  glBindRenderbuffer(GL_RENDERBUFFER, names[0]);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width_, height_);
  glGenFramebuffers(1, &names[1]);
  glBindFramebuffer(GL_FRAMEBUFFER, names[1]);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, names[0]);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
  glBlitFramebuffer(0, 0, width_, height_, 0, 0, width_, height_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, names[1]);
  return readFramebuffer(width_, height_);
}

void makeStateUnusual() {
  GLuint names[6] = {};
  glGenFramebuffers(1, &names[0]);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, names[0]);
  glGenRenderbuffers(1, &names[1]);
  glBindRenderbuffer(GL_RENDERBUFFER, names[1]);
  glActiveTexture(GL_TEXTURE3);
  glGenTextures(1, &names[2]);
  glBindTexture(GL_TEXTURE_2D, names[2]);
  glGenBuffers(2, &names[3]);
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, names[3]);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, names[4]);
  glGenVertexArrays(1, &names[5]);
  glBindVertexArray(names[5]);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 1000);
  glPixelStorei(GL_UNPACK_SKIP_ROWS, 3);
  glPixelStorei(GL_UNPACK_SKIP_PIXELS, 5);
  glEnable(GL_SCISSOR_TEST);
  glScissor(1, 2, 3, 4);
  glViewport(5, 6, 7, 8);
  glClearColor(0.1F, 0.2F, 0.3F, 0.4F);
  glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
  glColorMaski(1, GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
  for (const GLenum on : {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_RASTERIZER_DISCARD}) {
    glEnable(on);
  }
  if (epoxy_is_desktop_gl()) glEnable(GL_FRAMEBUFFER_SRGB);
}

std::vector<std::string> describeState() {
  const std::vector<std::vector<GLenum>> names{
      {GL_READ_FRAMEBUFFER_BINDING, GL_DRAW_FRAMEBUFFER_BINDING, GL_RENDERBUFFER_BINDING,
       GL_ACTIVE_TEXTURE, GL_TEXTURE_BINDING_2D},
      {GL_PIXEL_UNPACK_BUFFER_BINDING, GL_PIXEL_PACK_BUFFER_BINDING, GL_VERTEX_ARRAY_BINDING,
       GL_CURRENT_PROGRAM, GL_ARRAY_BUFFER_BINDING},
      {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS,
       GL_PACK_ALIGNMENT},
      {GL_SCISSOR_BOX, GL_VIEWPORT, GL_COLOR_CLEAR_VALUE, GL_SCISSOR_TEST, GL_RASTERIZER_DISCARD},
      {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE}};
  std::vector<std::string> all;
  for (const auto& row : names) {
    for (const GLenum name : row) {
      GLfloat values[4] = {};
      glGetFloatv(name, values);
      std::ostringstream text;
      text << std::hex << name << ":" << values[0] << " " << values[1] << " " << values[2] << " "
           << values[3];
      all.push_back(text.str());
    }
  }
  for (GLuint buffer = 0; buffer < 2; ++buffer) {
    GLboolean mask[4] = {};
    glGetBooleani_v(GL_COLOR_WRITEMASK, buffer, mask);
    all.push_back("mask " + std::to_string(mask[0] * 8 + mask[1] * 4 + mask[2] * 2 + mask[3]));
  }
  if (epoxy_is_desktop_gl()) {
    all.push_back("srgb " + std::to_string(glIsEnabled(GL_FRAMEBUFFER_SRGB)));
  }
  all.push_back("error " + std::to_string(glGetError()));
  return all;
}

}  // namespace quorvid::test
