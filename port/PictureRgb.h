// PictureRgb: a decoded picture as pixels that any program can use. Any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

// Scales a "420v" picture to width x height (1 to 16384 each) and turns it into red, green and blue
// bytes by its own matrix; rows from the top without padding. False when memory is short, or for
// another kind of picture.
bool convertToRgb(CVPixelBufferRef picture, int width, int height, std::vector<std::uint8_t>& rgb);

}  // namespace quorvid
