#include "port/TextureCache.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <utility>

#include "port/egl/EAGLContextNative.h"

namespace quorvid {

class CVOpenGLESTextureCache {
 public:
  explicit CVOpenGLESTextureCache(std::shared_ptr<TexturePool> lender) : pool(std::move(lender)) {}
  const std::shared_ptr<TexturePool> pool;
};

class CVOpenGLESTexture {
 public:
  CVOpenGLESTexture(std::shared_ptr<TexturePool> lender, const PooledTexture& lent)
      : texture(lent), pool_(std::move(lender)) {}
  ~CVOpenGLESTexture() { pool_->giveBack(texture); }
  CVOpenGLESTexture(const CVOpenGLESTexture&) = delete;
  CVOpenGLESTexture& operator=(const CVOpenGLESTexture&) = delete;
  const PooledTexture texture;

 private:
  std::shared_ptr<TexturePool> pool_;
};

namespace {

std::size_t bytesPerPixel(std::uint32_t format) {
  return format == GL_RED_EXT ? 1 : format == GL_RG_EXT ? 2 : 0;
}

bool holds(CVPixelBufferRef image, std::size_t plane, std::size_t width, std::size_t height) {
  return plane < CVPixelBufferGetPlaneCount(image) && width > 0 && height > 0 &&
         width <= CVPixelBufferGetWidthOfPlane(image, plane) &&
         height <= CVPixelBufferGetHeightOfPlane(image, plane);
}

}  // namespace

CVReturn CVOpenGLESTextureCacheCreate(const std::shared_ptr<EAGLContext>& context,
                                      CVOpenGLESTextureCacheRef* out) {
  if (context == nullptr || out == nullptr) return kCVReturnInvalidArgument;
  *out = std::make_shared<CVOpenGLESTextureCache>(context->native().textures);
  return kCVReturnSuccess;
}

CVReturn CVOpenGLESTextureCacheCreateTextureFromImage(
    const CVOpenGLESTextureCacheRef& cache, CVPixelBufferRef image, std::uint32_t target,
    std::int32_t internalFormat, std::size_t width, std::size_t height, std::uint32_t format,
    std::uint32_t type, std::size_t plane, CVOpenGLESTextureRef* out) {
  if (out == nullptr) return kCVReturnInvalidArgument;
  out->reset();
  const std::size_t pixelSize = bytesPerPixel(format);
  if (cache == nullptr || image == nullptr || target != GL_TEXTURE_2D ||
      std::cmp_not_equal(internalFormat, format) || type != GL_UNSIGNED_BYTE || pixelSize == 0) {
    return kCVReturnInvalidArgument;
  }
  const bool fits = holds(image, plane, width, height) &&
                    pixelSize == (CVPixelBufferGetPlaneCount(image) == 2 && plane == 1 ? 2U : 1U);
  if (!fits) return kCVReturnPixelBufferNotOpenGLCompatible;
  const TexturePixels pixels{CVPixelBufferGetBaseAddressOfPlane(image, plane),
                             CVPixelBufferGetBytesPerRowOfPlane(image, plane), pixelSize};
  PooledTexture texture;
  if (!cache->pool->borrow(format, static_cast<GLsizei>(width), static_cast<GLsizei>(height),
                           pixels, texture)) {
    return kCVReturnPixelBufferNotOpenGLCompatible;
  }
  *out = std::make_shared<CVOpenGLESTexture>(cache->pool, texture);
  return kCVReturnSuccess;
}

// Textures come back to the pool by themselves, and it bounds what it keeps.
void CVOpenGLESTextureCacheFlush(const CVOpenGLESTextureCacheRef& cache) {
  static_cast<void>(cache);
}

std::uint32_t CVOpenGLESTextureGetTarget(const CVOpenGLESTextureRef& texture) {
  static_cast<void>(texture);
  return GL_TEXTURE_2D;
}

std::uint32_t CVOpenGLESTextureGetName(const CVOpenGLESTextureRef& texture) {
  return texture == nullptr ? 0 : texture->texture.name;
}

}  // namespace quorvid
