#include "port/egl/TexturePool.h"

#include <GLES2/gl2ext.h>

#include <algorithm>

namespace quorvid {
namespace {

constexpr std::size_t idleLimit = 8;

void packRows(const TexturePixels& from, std::size_t rowBytes, std::size_t rows,
              std::vector<std::uint8_t>& to) {
  to.resize(rowBytes * rows);
  for (std::size_t row = 0; row < rows; ++row) {
    std::copy_n(from.bytes + row * from.bytesPerRow, rowBytes, to.data() + row * rowBytes);
  }
}

}  // namespace

TexturePool::~TexturePool() {
  if (idle_.empty()) return;
  if (const ShareGroup::Scope root(*group_); root) {
    for (const PooledTexture& texture : idle_) {
      glDeleteTextures(1, &texture.name);
    }
  }
}

// One of the same kind if there is one: its storage is used again as it is.
PooledTexture TexturePool::takeIdle(GLenum format, GLsizei width, GLsizei height) {
  const auto same = std::find_if(idle_.begin(), idle_.end(), [&](const PooledTexture& idle) {
    return idle.format == format && idle.width == width && idle.height == height;
  });
  if (same == idle_.end()) return {};
  const PooledTexture taken = *same;
  idle_.erase(same);
  return taken;
}

bool TexturePool::borrow(GLenum format, GLsizei width, GLsizei height, const TexturePixels& pixels,
                         PooledTexture& texture) {
  while (glGetError() != GL_NO_ERROR) {
  }
  PooledTexture taken = takeIdle(format, width, height);
  const bool fresh = taken.name == 0;
  if (fresh) {
    taken = {0, format, width, height};
    glGenTextures(1, &taken.name);
  }
  glBindTexture(GL_TEXTURE_2D, taken.name);
  if (fresh) {
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, format,
                 GL_UNSIGNED_BYTE, nullptr);
  }
  upload(taken, pixels);
  if (glGetError() != GL_NO_ERROR) {
    glDeleteTextures(1, &taken.name);
    return false;
  }
  texture = taken;
  return true;
}

void TexturePool::upload(const PooledTexture& texture, const TexturePixels& pixels) {
  const auto rowBytes = static_cast<std::size_t>(texture.width) * pixels.bytesPerPixel;
  const std::uint8_t* bytes = pixels.bytes;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  bool longRows = false;
  if (pixels.bytesPerRow != rowBytes) {
    longRows = pixels.bytesPerRow % pixels.bytesPerPixel == 0 && readsLongRows();
    if (longRows) {
      glPixelStorei(GL_UNPACK_ROW_LENGTH_EXT,
                    static_cast<GLint>(pixels.bytesPerRow / pixels.bytesPerPixel));
    } else {
      packRows(pixels, rowBytes, static_cast<std::size_t>(texture.height), packed_);
      bytes = packed_.data();
    }
  }
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texture.width, texture.height, texture.format,
                  GL_UNSIGNED_BYTE, bytes);
  if (longRows) glPixelStorei(GL_UNPACK_ROW_LENGTH_EXT, 0);
}

bool TexturePool::readsLongRows() {
  if (longRows_ == Answer::Unknown) {
    const auto* names = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    longRows_ = namesExtension(names, "GL_EXT_unpack_subimage") ? Answer::Yes : Answer::No;
  }
  return longRows_ == Answer::Yes;
}

void TexturePool::giveBack(const PooledTexture& texture) {
  idle_.push_back(texture);
  if (idle_.size() <= idleLimit) return;
  if (const ShareGroup::Scope root(*group_); root) glDeleteTextures(1, &idle_.front().name);
  idle_.erase(idle_.begin());
}

}  // namespace quorvid
