// CVOpenGLESTextureCache: pictures in memory as OpenGL ES textures.
//
// Used on the thread whose current context is the cache's. Idea: a context has one cache, which
// lends textures and takes each back with its last reference, so asking for the cache with every
// picture costs nothing. The loss: up to eight idle textures stay allocated with a context.
//
// GL state it touches: the texture bound to the target in the active unit, which stays bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "port/EAGLContext.h"
#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

class CVOpenGLESTextureCache;
class CVOpenGLESTexture;
using CVOpenGLESTextureCacheRef = std::shared_ptr<CVOpenGLESTextureCache>;
using CVOpenGLESTextureRef = std::shared_ptr<CVOpenGLESTexture>;

// The picture has no such plane, is smaller than the texture asked for, or GL refused the upload.
inline constexpr CVReturn kCVReturnPixelBufferNotOpenGLCompatible = -6683;

// The cache of the context. kCVReturnInvalidArgument without a context or a place for the result.
CVReturn CVOpenGLESTextureCacheCreate(const std::shared_ptr<EAGLContext>& context,
                                      CVOpenGLESTextureCacheRef* out);

// Makes a texture from the top left `width` x `height` pixels of a plane and leaves it bound to
// `target` in the active unit. target: GL_TEXTURE_2D; internalFormat and format: both GL_RED_EXT
// (one byte a pixel) or both GL_RG_EXT (two); type: GL_UNSIGNED_BYTE. Rows may be longer than the
// picture. `*out` is null on failure.
CVReturn CVOpenGLESTextureCacheCreateTextureFromImage(const CVOpenGLESTextureCacheRef& cache,
                                                      CVPixelBufferRef image, std::uint32_t target,
                                                      std::int32_t internalFormat,
                                                      std::size_t width, std::size_t height,
                                                      std::uint32_t format, std::uint32_t type,
                                                      std::size_t plane, CVOpenGLESTextureRef* out);

// Deletes nothing: idle textures are kept for the next picture.
void CVOpenGLESTextureCacheFlush(const CVOpenGLESTextureCacheRef& cache);

// A null texture has the target GL_TEXTURE_2D and the name 0.
std::uint32_t CVOpenGLESTextureGetTarget(const CVOpenGLESTextureRef& texture);
std::uint32_t CVOpenGLESTextureGetName(const CVOpenGLESTextureRef& texture);

}  // namespace quorvid
