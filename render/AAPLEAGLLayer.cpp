#include "quorvid/render/AAPLEAGLLayer.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "port/EAGLContext.h"
#include "port/HostContext.h"
#include "port/TextureCache.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/Screen.h"

namespace quorvid {
namespace {

constexpr GLsizei kTwoFloats = 2 * sizeof(GLfloat);

const float* conversionOf(CVPixelBufferRef pixelBuffer) {
  const Text matrix = CVBufferGetAttachment(pixelBuffer, kCVImageBufferYCbCrMatrixKey);
  const bool is601 = !matrix.isMissing() &&
                     std::strcmp(matrix.c_str(), kCVImageBufferYCbCrMatrix_ITU_R_601_4) == 0;
  return is601 ? kColorConversion601 : kColorConversion709;
}

// Half the extents of the fitted picture in clip space: 1 along the side that fills the layer.
CGSize quadExtents(CGSize picture, CGRect bounds) {
  const CGRect fitted = AVMakeRectWithAspectRatioInsideRect(picture, bounds);
  const CGSize cropScale{fitted.size.width / bounds.size.width,
                         fitted.size.height / bounds.size.height};
  if (cropScale.width > cropScale.height) return {1.0, cropScale.height / cropScale.width};
  return {cropScale.width / cropScale.height, 1.0};
}

}  // namespace

std::shared_ptr<AAPLEAGLLayer> AAPLEAGLLayer::initWithFrame(CGRect frame) {
  const HostContext host;
  struct Layer : AAPLEAGLLayer {};
  auto layer = std::make_shared<Layer>();
  layer->setContentsScale(UIScreen::mainScreen().scale());
  layer->setOpaque(true);
  layer->setDrawableProperties({{kEAGLDrawablePropertyRetainedBacking, true}});
  layer->setFrame(frame);
  layer->_context = EAGLContext::initWithAPI(kEAGLRenderingAPIOpenGLES2);
  if (layer->_context == nullptr) return nullptr;
  layer->_preferredConversion = kColorConversion709;
  layer->setupGL();
  layer->setRenewal([self = layer.get()] { self->renew(); });
  return layer;
}

// Framebuffer and renderbuffer go with the drawable, which the base class owns.
AAPLEAGLLayer::~AAPLEAGLLayer() {
  const HostContext host;
  const bool current = makeCurrent();
  cleanUpTextures();
  CVPixelBufferRelease(_pixelBuffer);
  if (current && _program != 0) {
    glDeleteProgram(_program);
    _program = 0;
  }
  _context.reset();
}

bool AAPLEAGLLayer::makeCurrent() const {
  return _context != nullptr && EAGLContext::setCurrentContext(_context);
}

void AAPLEAGLLayer::setupGL() {
  if (!makeCurrent()) return;
  setupBuffers();
  if (!loadShaders()) setStorageRefused(*this, true);
  glUseProgram(_program);
  glUniform1i(uniforms[UniformSamplerY], 0);
  glUniform1i(uniforms[UniformSamplerUV], 1);
  glUniform1f(uniforms[UniformPreferredRotation], 0.0F);
  glUniformMatrix3fv(uniforms[UniformColorConversionMatrix], 1, GL_FALSE, _preferredConversion);
}

void AAPLEAGLLayer::setupBuffers() {
  glDisable(GL_DEPTH_TEST);
  glEnableVertexAttribArray(AttributePosition);
  glVertexAttribPointer(AttributePosition, 2, GL_FLOAT, GL_FALSE, kTwoFloats, nullptr);
  glEnableVertexAttribArray(AttributeTexCoord);
  glVertexAttribPointer(AttributeTexCoord, 2, GL_FLOAT, GL_FALSE, kTwoFloats, nullptr);
  createBuffers();
}

// The framebuffer is bound before the storage is asked for: the drawable takes the one that is
// bound for the one that will hold its renderbuffer, and deletes both with the layer.
void AAPLEAGLLayer::createBuffers() {
  glGenFramebuffers(1, &_frameBufferHandle);
  glBindFramebuffer(GL_FRAMEBUFFER, _frameBufferHandle);
  glGenRenderbuffers(1, &_colorBufferHandle);
  glBindRenderbuffer(GL_RENDERBUFFER, _colorBufferHandle);
  if (_context != nullptr) _context->renderbufferStorage(GL_RENDERBUFFER, this);
  glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_WIDTH, &_backingWidth);
  glGetRenderbufferParameteriv(GL_RENDERBUFFER, GL_RENDERBUFFER_HEIGHT, &_backingHeight);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                            _colorBufferHandle);
  const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
  const CGSize size = bounds().size;
  const bool hasArea = std::lround(std::min(size.width, size.height) * contentsScale()) >= 1;
  setStorageRefused(*this, hasArea && status != GL_FRAMEBUFFER_COMPLETE);
  if (status != GL_FRAMEBUFFER_COMPLETE) {
    logMessage("Failed to make complete framebuffer object %x", status);
  }
}

void AAPLEAGLLayer::releaseBuffers() {
  if (_frameBufferHandle != 0) {
    glDeleteFramebuffers(1, &_frameBufferHandle);
    _frameBufferHandle = 0;
  }
  if (_colorBufferHandle != 0) {
    glDeleteRenderbuffers(1, &_colorBufferHandle);
    _colorBufferHandle = 0;
  }
}

void AAPLEAGLLayer::resetRenderBuffer() {
  const HostContext host;
  if (makeCurrent()) {
    releaseBuffers();
    createBuffers();
  }
}

void AAPLEAGLLayer::renew() {
  const HostContext host;
  resetRenderBuffer();
  if (_pixelBuffer == nullptr) return;
  displayPixelBuffer(_pixelBuffer, static_cast<std::uint32_t>(CVPixelBufferGetWidth(_pixelBuffer)),
                     static_cast<std::uint32_t>(CVPixelBufferGetHeight(_pixelBuffer)));
}

void AAPLEAGLLayer::cleanUpTextures() {
  _lumaTexture.reset();
  _chromaTexture.reset();
}

void AAPLEAGLLayer::setPixelBuffer(CVPixelBufferRef pixelBuffer) {
  if (_pixelBuffer != nullptr) CVPixelBufferRelease(_pixelBuffer);
  _pixelBuffer = CVPixelBufferRetain(pixelBuffer);
  const bool given = _pixelBuffer != nullptr;
  displayPixelBuffer(_pixelBuffer,
                     given ? static_cast<std::uint32_t>(CVPixelBufferGetWidth(_pixelBuffer)) : 0,
                     given ? static_cast<std::uint32_t>(CVPixelBufferGetHeight(_pixelBuffer)) : 0);
}

void AAPLEAGLLayer::displayPixelBuffer(CVPixelBufferRef pixelBuffer, std::uint32_t width,
                                       std::uint32_t height) {
  const HostContext host;
  if (!makeCurrent()) return;
  if (pixelBuffer == nullptr) {
    logMessage("Pixel buffer is null");
    return;
  }
  const std::size_t planeCount = CVPixelBufferGetPlaneCount(pixelBuffer);
  _preferredConversion = conversionOf(pixelBuffer);

  CVOpenGLESTextureCacheRef cache;
  const CVReturn status = CVOpenGLESTextureCacheCreate(_context, &cache);
  if (status != kCVReturnSuccess) {
    logMessage("Error at CVOpenGLESTextureCacheCreate %d", status);
    return;
  }
  loadTexture(cache, pixelBuffer, 0, width, height, _lumaTexture);
  if (planeCount == 2) loadTexture(cache, pixelBuffer, 1, width >> 1, height >> 1, _chromaTexture);
  drawQuad(width, height);
  glBindRenderbuffer(GL_RENDERBUFFER, _colorBufferHandle);
  _context->presentRenderbuffer(GL_RENDERBUFFER);

  cleanUpTextures();
  CVOpenGLESTextureCacheFlush(cache);
}

// Plane n becomes the texture of unit n: one byte a pixel for luma, two for chroma.
void AAPLEAGLLayer::loadTexture(const CVOpenGLESTextureCacheRef& cache,
                                CVPixelBufferRef pixelBuffer, std::size_t plane,
                                std::uint32_t width, std::uint32_t height,
                                CVOpenGLESTextureRef& texture) {
  const GLenum format = plane == 0 ? GL_RED_EXT : GL_RG_EXT;
  glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + plane));
  const CVReturn status = CVOpenGLESTextureCacheCreateTextureFromImage(
      cache, pixelBuffer, GL_TEXTURE_2D, static_cast<GLint>(format), width, height, format,
      GL_UNSIGNED_BYTE, plane, &texture);
  if (status != kCVReturnSuccess) {
    logMessage("Error at CVOpenGLESTextureCacheCreateTextureFromImage %d", status);
  }
  const GLenum target = CVOpenGLESTextureGetTarget(texture);
  glBindTexture(target, CVOpenGLESTextureGetName(texture));
  glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameterf(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameterf(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

void AAPLEAGLLayer::drawQuad(std::uint32_t width, std::uint32_t height) {
  glBindFramebuffer(GL_FRAMEBUFFER, _frameBufferHandle);
  glViewport(0, 0, _backingWidth, _backingHeight);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glUseProgram(_program);
  glUniform1f(uniforms[UniformPreferredRotation], 0.0F);
  glUniformMatrix3fv(uniforms[UniformColorConversionMatrix], 1, GL_FALSE, _preferredConversion);

  const CGSize extents =
      quadExtents({static_cast<CGFloat>(width), static_cast<CGFloat>(height)}, bounds());
  const auto w = static_cast<GLfloat>(extents.width);
  const auto h = static_cast<GLfloat>(extents.height);
  const std::array<GLfloat, 8> vertices = {-w, -h, w, -h, -w, h, w, h};
  glVertexAttribPointer(AttributePosition, 2, GL_FLOAT, GL_FALSE, 0, vertices.data());
  glEnableVertexAttribArray(AttributePosition);
  // The picture's first row (t = 0) lands at the top of the quad (y = +h).
  const std::array<GLfloat, 8> texCoords = {0, 1, 1, 1, 0, 0, 1, 0};
  glVertexAttribPointer(AttributeTexCoord, 2, GL_FLOAT, GL_FALSE, 0, texCoords.data());
  glEnableVertexAttribArray(AttributeTexCoord);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

}  // namespace quorvid
