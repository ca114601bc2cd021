// PictureTap: stands between a decoder and whatever shows its pictures, and tells of each one.
#pragma once

#include <functional>
#include <utility>

#include "apps/quorvid/view/Player.h"
#include "quorvid/decoder/H264HwDecoderImpl.h"

namespace quorvid::app {

// The decoder holds its delegate weakly: whoever makes a tap keeps it. Main thread.
class PictureTap : public H264HwDecoderImplDelegate {
 public:
  // show: takes over the picture's reference. streamSize: asked while the frame still lies in its
  // slot.
  PictureTap(std::function<void(CVPixelBufferRef)> show,
             std::function<std::optional<PixelSize>()> streamSize, Player::PictureHandler shown)
      : show_(std::move(show)), streamSize_(std::move(streamSize)), shown_(std::move(shown)) {}

  void displayDecodedFrame(CVPixelBufferRef picture) override;

 private:
  std::function<void(CVPixelBufferRef)> show_;
  std::function<std::optional<PixelSize>()> streamSize_;
  Player::PictureHandler shown_;
};

// The size that a key frame in the hand-off slot states; nothing for other frames.
std::optional<PixelSize> streamSizeOf(const void* frame, std::size_t length);

}  // namespace quorvid::app
