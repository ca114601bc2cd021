// TexturePool: the textures that a context's pictures are uploaded into, kept from picture to
// picture.
//
// Used on the thread whose current context is the pool's; emptied with any context. A texture is
// lent to one borrower at a time and comes back to the pool. At most eight idle ones are kept.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "port/egl/ShareGroup.h"

namespace quorvid {

struct PooledTexture {
  GLuint name = 0;
  GLenum format = 0;
  GLsizei width = 0;
  GLsizei height = 0;
};

// One plane in memory: `height` rows of `width` pixels, each `bytesPerRow` after the one before.
struct TexturePixels {
  const std::uint8_t* bytes = nullptr;
  std::size_t bytesPerRow = 0;
  std::size_t bytesPerPixel = 0;
};

class TexturePool {
 public:
  explicit TexturePool(std::shared_ptr<ShareGroup> group) : group_(std::move(group)) {}
  ~TexturePool();
  TexturePool(const TexturePool&) = delete;
  TexturePool& operator=(const TexturePool&) = delete;

  // Binds a texture of that format and size, filled with the pixels, to the active unit. False,
  // with nothing lent, when GL refuses.
  bool borrow(GLenum format, GLsizei width, GLsizei height, const TexturePixels& pixels,
              PooledTexture& texture);
  void giveBack(const PooledTexture& texture);

 private:
  PooledTexture takeIdle(GLenum format, GLsizei width, GLsizei height);
  void upload(const PooledTexture& texture, const TexturePixels& pixels);
  bool readsLongRows();

  std::shared_ptr<ShareGroup> group_;
  std::vector<PooledTexture> idle_;
  std::vector<std::uint8_t> packed_;
  enum class Answer : std::uint8_t { Unknown, No, Yes } longRows_ = Answer::Unknown;
};

}  // namespace quorvid
