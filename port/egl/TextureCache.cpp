#include "port/TextureCache.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "port/egl/EAGLContextNative.h"

namespace quorvid {
namespace {

constexpr std::size_t kIdleLimit = 8;

// A texture's name and what its storage holds.
struct Storage {
  GLuint name = 0;
  GLenum format = 0;
  GLsizei width = 0;
  GLsizei height = 0;
};

// One plane in memory: rows of pixels, each `bytesPerRow` after the one before.
struct Plane {
  const std::uint8_t* bytes = nullptr;
  std::size_t bytesPerRow = 0;
  std::size_t bytesPerPixel = 0;
};

}  // namespace

// The textures that a context's pictures are uploaded into, kept from picture to picture. One is
// lent as long as somebody else holds it: so neither lending nor taking back allocates anything.
class CVOpenGLESTextureCache {
 public:
  explicit CVOpenGLESTextureCache(std::shared_ptr<ShareGroup> group) : group_(std::move(group)) {}
  CVOpenGLESTextureCache(const CVOpenGLESTextureCache&) = delete;
  CVOpenGLESTextureCache& operator=(const CVOpenGLESTextureCache&) = delete;

  // Binds a texture like `wanted` but for the name, filled with the plane, to the active unit.
  // Null, with nothing lent, when GL refuses.
  CVOpenGLESTextureRef lend(Storage wanted, const Plane& plane);

 private:
  void dropIdle();
  void upload(const Storage& texture, const Plane& plane);

  std::shared_ptr<ShareGroup> group_;
  std::vector<CVOpenGLESTextureRef> textures_;  // the one that was lent last at the end
  std::vector<std::uint8_t> packed_;
};

// Deletes its storage with itself, in any context.
class CVOpenGLESTexture {
 public:
  CVOpenGLESTexture(std::shared_ptr<ShareGroup> group, const Storage& made)
      : storage(made), group_(std::move(group)) {}
  ~CVOpenGLESTexture() {
    if (const ShareGroup::Scope root(*group_); root) glDeleteTextures(1, &storage.name);
  }
  CVOpenGLESTexture(const CVOpenGLESTexture&) = delete;
  CVOpenGLESTexture& operator=(const CVOpenGLESTexture&) = delete;
  Storage storage;

 private:
  const std::shared_ptr<ShareGroup> group_;
};

namespace {

bool isIdle(const CVOpenGLESTextureRef& texture) {
  return texture.use_count() == 1;
}

bool isLike(const Storage& one, const Storage& other) {
  return one.format == other.format && one.width == other.width && one.height == other.height;
}

}  // namespace

// One of the same kind if there is one: its storage is used again as it is.
CVOpenGLESTextureRef CVOpenGLESTextureCache::lend(Storage wanted, const Plane& plane) {
  while (glGetError() != GL_NO_ERROR) {
  }
  const auto same = std::find_if(textures_.begin(), textures_.end(), [&](const auto& texture) {
    return isIdle(texture) && isLike(texture->storage, wanted);
  });
  if (same != textures_.end()) {
    std::rotate(same, same + 1, textures_.end());
    wanted = textures_.back()->storage;
    glBindTexture(GL_TEXTURE_2D, wanted.name);
  } else {
    dropIdle();
    textures_.push_back(std::make_shared<CVOpenGLESTexture>(group_, wanted));
    glGenTextures(1, &wanted.name);
    textures_.back()->storage.name = wanted.name;
    glBindTexture(GL_TEXTURE_2D, wanted.name);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(wanted.format), wanted.width, wanted.height,
                 0, wanted.format, GL_UNSIGNED_BYTE, nullptr);
  }
  upload(wanted, plane);
  if (glGetError() == GL_NO_ERROR) return textures_.back();
  textures_.pop_back();
  return nullptr;
}

// Before another one comes.
void CVOpenGLESTextureCache::dropIdle() {
  const auto idle = std::count_if(textures_.begin(), textures_.end(), isIdle);
  if (std::cmp_less(idle, kIdleLimit)) return;
  textures_.erase(std::find_if(textures_.begin(), textures_.end(), isIdle));
}

// OpenGL ES 2 reads rows without a gap. The extension takes rows that are whole pixels long; others
// are packed first.
void CVOpenGLESTextureCache::upload(const Storage& texture, const Plane& plane) {
  const auto rowBytes = static_cast<std::size_t>(texture.width) * plane.bytesPerPixel;
  const std::uint8_t* bytes = plane.bytes;
  const bool gaps = plane.bytesPerRow != rowBytes;
  const bool longRows = gaps && plane.bytesPerRow % plane.bytesPerPixel == 0 &&
                        epoxy_has_gl_extension("GL_EXT_unpack_subimage");
  if (gaps && !longRows) {
    packed_.resize(rowBytes * static_cast<std::size_t>(texture.height));
    for (auto to = packed_.begin(); to != packed_.end(); bytes += plane.bytesPerRow) {
      to = std::copy_n(bytes, rowBytes, to);
    }
    bytes = packed_.data();
  }
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  if (longRows) {
    glPixelStorei(GL_UNPACK_ROW_LENGTH,
                  static_cast<GLint>(plane.bytesPerRow / plane.bytesPerPixel));
  }
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texture.width, texture.height, texture.format,
                  GL_UNSIGNED_BYTE, bytes);
  if (longRows) glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
}

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
  EAGLContext::Native& native = context->native();
  if (native.textures == nullptr) {
    native.textures = std::make_shared<CVOpenGLESTextureCache>(native.group);
  }
  *out = native.textures;
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
  *out = cache->lend({0, format, static_cast<GLsizei>(width), static_cast<GLsizei>(height)},
                     {CVPixelBufferGetBaseAddressOfPlane(image, plane),
                      CVPixelBufferGetBytesPerRowOfPlane(image, plane), pixelSize});
  return *out != nullptr ? kCVReturnSuccess : kCVReturnPixelBufferNotOpenGLCompatible;
}

// Textures come back by themselves, and the cache bounds what it keeps.
void CVOpenGLESTextureCacheFlush(const CVOpenGLESTextureCacheRef& cache) {
  static_cast<void>(cache);
}

std::uint32_t CVOpenGLESTextureGetTarget(const CVOpenGLESTextureRef& texture) {
  static_cast<void>(texture);
  return GL_TEXTURE_2D;
}

std::uint32_t CVOpenGLESTextureGetName(const CVOpenGLESTextureRef& texture) {
  return texture == nullptr ? 0 : texture->storage.name;
}

}  // namespace quorvid
