// PlanarPicture: a picture as decoded, in the other forms that programs ask for. Any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

// From a "y420" or "f420" picture, in its own size, rows without padding. False when memory is
// short, or for another kind of picture; `bytes` means nothing then.

// Y' (width x height), then Cb and Cr in turn ((width + 1) / 2 pairs x (height + 1) / 2), in video
// range.
bool planarToNv12(CVPixelBufferRef picture, std::vector<std::uint8_t>& bytes);
// Red, green and blue by the picture's own matrix and range, 3 bytes a pixel.
bool planarToRgb(CVPixelBufferRef picture, std::vector<std::uint8_t>& bytes);

}  // namespace quorvid
