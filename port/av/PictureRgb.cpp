#include "port/PictureRgb.h"

#include <libyuv.h>

#include <new>

namespace quorvid {
namespace {

constexpr int kLargestSide = 16384;

const libyuv::YuvConstants& constantsOf(CVPixelBufferRef picture) {
  const Text matrix = CVBufferGetAttachment(picture, kCVImageBufferYCbCrMatrixKey);
  const bool isStandard = matrix == Text(kCVImageBufferYCbCrMatrix_ITU_R_601_4);
  return isStandard ? libyuv::kYuvI601Constants : libyuv::kYuvH709Constants;
}

std::vector<std::uint8_t> pixels(int width, int height, int bytes) {
  return std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * bytes);
}

}  // namespace

// Colours first: scaled samples of luma and chroma would no longer lie together.
bool convertToRgb(CVPixelBufferRef picture, int width, int height,
                  std::vector<std::uint8_t>& rgb) try {
  if (picture == nullptr || CVPixelBufferGetPlaneCount(picture) != 2 || width < 1 || height < 1 ||
      width > kLargestSide || height > kLargestSide) {
    return false;
  }
  const auto fromWidth = static_cast<int>(CVPixelBufferGetWidth(picture));
  const auto fromHeight = static_cast<int>(CVPixelBufferGetHeight(picture));
  std::vector<std::uint8_t> whole = pixels(fromWidth, fromHeight, 4),
                            scaled = pixels(width, height, 4);
  rgb = pixels(width, height, 3);
  const auto stride = [&](std::size_t plane) {
    return static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, plane));
  };
  libyuv::NV12ToARGBMatrix(CVPixelBufferGetBaseAddressOfPlane(picture, 0), stride(0),
                           CVPixelBufferGetBaseAddressOfPlane(picture, 1), stride(1), whole.data(),
                           fromWidth * 4, &constantsOf(picture), fromWidth, fromHeight);
  libyuv::ARGBScale(whole.data(), fromWidth * 4, fromWidth, fromHeight, scaled.data(), width * 4,
                    width, height, libyuv::kFilterBox);
  libyuv::ARGBToRAW(scaled.data(), width * 4, rgb.data(), width * 3, width, height);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace quorvid
