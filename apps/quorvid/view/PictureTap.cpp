#include "apps/quorvid/view/PictureTap.h"

#include "apps/common/Stream.h"

namespace quorvid::app {

void PictureTap::displayDecodedFrame(CVPixelBufferRef picture) {
  if (picture == nullptr) return;
  const ShownPicture told{{static_cast<int>(CVPixelBufferGetWidth(picture)),
                           static_cast<int>(CVPixelBufferGetHeight(picture))},
                          streamSize_()};
  show_(picture);
  shown_(told);
}

std::optional<PixelSize> streamSizeOf(const void* frame, std::size_t length) {
  const auto* bytes = static_cast<const std::uint8_t*>(frame);
  if (bytes == nullptr || length <= 4) return std::nullopt;
  // The decoder has written lengths over the start codes by now; the header byte is where it was.
  return sizeOfSps({bytes + 4, length - 4});
}

}  // namespace quorvid::app
