#include "view/Picture.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace quorvid::test {

Picture::Picture(int width, int height, const std::function<YCbCr(int, int)>& at,
                 const char* matrix, std::size_t bytesPerRow, std::uint32_t format) {
  if (CVPixelBufferCreate(static_cast<std::size_t>(width), static_cast<std::size_t>(height), format,
                          bytesPerRow, &buffer_) != kCVReturnSuccess) {
    std::abort();
  }
  CVBufferSetAttachment(buffer_, kCVImageBufferYCbCrMatrixKey, Text(matrix));
  const std::size_t planes = CVPixelBufferGetPlaneCount(buffer_);
  for (std::size_t plane = 0; plane < planes; ++plane) {
    // Whatever lies beside the picture must not be seen: it would be bright green.
    const std::size_t stride = CVPixelBufferGetBytesPerRowOfPlane(buffer_, plane);
    std::memset(CVPixelBufferGetBaseAddressOfPlane(buffer_, plane), plane == 0 ? 235 : 0,
                stride * CVPixelBufferGetHeightOfPlane(buffer_, plane));
    for (std::size_t y = 0; y < CVPixelBufferGetHeightOfPlane(buffer_, plane); ++y) {
      std::uint8_t* row = CVPixelBufferGetBaseAddressOfPlane(buffer_, plane) + y * stride;
      for (std::size_t x = 0; x < CVPixelBufferGetWidthOfPlane(buffer_, plane); ++x) {
        const int step = plane == 0 ? 1 : 2;
        const YCbCr sample = at(static_cast<int>(x) * step, static_cast<int>(y) * step);
        if (plane == 0) {
          row[x] = sample.y;
        } else {
          row[2 * x] = sample.cb;
          row[2 * x + 1] = sample.cr;
        }
      }
    }
  }
}

Rgb Image::at(int x, int y) const {
  const std::size_t index = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                             static_cast<std::size_t>(x)) *
                            4;
  return {rgba.at(index), rgba.at(index + 1), rgba.at(index + 2)};
}

Image readFramebuffer(int width, int height) {
  Image image{width, height, {}};
  const std::size_t row = static_cast<std::size_t>(width) * 4;
  std::vector<std::uint8_t> upwards(row * static_cast<std::size_t>(height));
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, upwards.data());
  for (int y = height - 1; y >= 0; --y) {
    const auto begin = upwards.begin() + static_cast<std::ptrdiff_t>(row) * y;
    image.rgba.insert(image.rgba.end(), begin, begin + static_cast<std::ptrdiff_t>(row));
  }
  return image;
}

Rgb expectedRgb(YCbCr sample, const float* matrix) {
  const std::array<double, 3> in = {sample.y / 255.0 - 16.0 / 255.0, sample.cb / 255.0 - 0.5,
                                    sample.cr / 255.0 - 0.5};
  Rgb out{};
  for (std::size_t channel = 0; channel < 3; ++channel) {
    double sum = 0;
    for (std::size_t column = 0; column < 3; ++column) {
      sum += in[column] * matrix[column * 3 + channel];
    }
    out[channel] = static_cast<int>(std::lround(std::clamp(sum, 0.0, 1.0) * 255));
  }
  return out;
}

int distance(const Rgb& a, const Rgb& b) {
  int largest = 0;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    largest = std::max(largest, std::abs(a[channel] - b[channel]));
  }
  return largest;
}

}  // namespace quorvid::test
