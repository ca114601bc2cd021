// PicturePtr: one reference to a pixel buffer, let go with its owner.
#pragma once

#include <memory>
#include <type_traits>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

struct PictureRelease {
  void operator()(CVPixelBufferRef picture) const { CVPixelBufferRelease(picture); }
};
using PicturePtr = std::unique_ptr<std::remove_pointer_t<CVPixelBufferRef>, PictureRelease>;

}  // namespace quorvid
